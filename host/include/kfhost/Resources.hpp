// A bundle's resources: string lists, dialogs, menus, a module identifier and PNG icons, read from
// human-editable text files (see docs/resources.md).
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost {

// A malformed resource file: what() is "file:line:column: message".
class ResourceError : public std::runtime_error {
public:
    ResourceError(std::string file, int line, int column, const std::string& message);
    const std::string& File() const { return file_; }
    int Line() const { return line_; }
    int Column() const { return column_; }
    const std::string& Message() const { return message_; }

private:
    std::string file_;
    int line_;
    int column_;
    std::string message_;
};

enum class ItemKind { Button, StaticText, EditText, ListBox, Icon, CheckBox };
std::string_view KindName(ItemKind kind);
std::optional<ItemKind> KindFromName(std::string_view name);

struct Rect {
    std::int16_t left = 0;
    std::int16_t top = 0;
    std::int16_t width = 0;
    std::int16_t height = 0;
};

struct ItemTemplate {
    std::int16_t number = 0;
    ItemKind kind = ItemKind::StaticText;
    Rect rect;
    std::u16string text;
    std::int16_t iconResID = 0; // icon items
    bool hidden = false;
    bool disabled = false;
    bool checked = false; // check boxes
};

struct DialogTemplate {
    std::int16_t resID = 0;
    std::u16string title;
    std::int16_t width = 0;
    std::int16_t height = 0;
    std::int16_t cancelItem = 0;     // 0: none declared
    std::vector<ItemTemplate> items; // items[i].number == i + 1
};

struct MenuItemTemplate {
    std::u16string text;
    bool checked = false;
    bool disabled = false;
};

struct MenuTemplate {
    std::int16_t resID = 0;
    std::u16string title;
    std::vector<MenuItemTemplate> items;
};

struct IconResource {
    std::int16_t resID = 0;
    std::filesystem::path file;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

struct ModuleID {
    std::uint32_t developerID = 0;
    std::uint32_t localID = 0;
    bool operator==(const ModuleID&) const = default;
};

struct ResourceModule {
    std::optional<ModuleID> moduleID;
    std::map<std::int16_t, std::map<std::int16_t, std::u16string>> strings; // resID -> index -> text
    std::map<std::int16_t, DialogTemplate> dialogs;
    std::map<std::int16_t, MenuTemplate> menus;
    std::map<std::int16_t, IconResource> icons;
    // "dialog 32500" -> "file:line", for duplicate reports; also "dialog 32500 item 3",
    // "strings 32531 index 2" and "menu 32501 item 1", for checks that name an item's own line.
    std::map<std::string, std::string> origins;

    const std::u16string* String(std::int16_t resID, std::int16_t index) const;
    const DialogTemplate* Dialog(std::int16_t resID) const;
    const MenuTemplate* Menu(std::int16_t resID) const;
};

// Parses one resource text into module; fileName is used in error messages only.
void ParseResourceText(std::string_view text, const std::string& fileName, ResourceModule& module);
// The largest width and height of an icon, for the headless and the windowed backend alike.
constexpr std::uint32_t kMaxIconSide = 1024;
// Reads an icon file's header; throws ResourceError when it is not a PNG image or is too large.
IconResource ReadIcon(const std::filesystem::path& file, std::int16_t resID);
// Every *.res file under folder (in path order) and every <number>.png icon.
ResourceModule LoadResourceFolder(const std::filesystem::path& folder);
// One file of a resource folder into module: a *.res text or a <number>.png icon; other files
// are not resources and are left alone.
void ReadResourceFile(const std::filesystem::path& file, ResourceModule& module);

} // namespace kfhost
