// The host's libraries and library parts: folders of part files, indexed by name so that a search
// never walks the parts. The rules of the part files and of names are in docs/libraries.md.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kfhost::libraries {

// The part types, numbered as add-ons number them.
enum PartType : std::int32_t {
    AnyType = 0, // in a search: every type
    Window = 1,
    Door = 2,
    Object = 3,
    Lamp = 4,
    Label = 5,
    Macro = 6,
    Picture = 7,
    ListScheme = 8,
    Skylight = 9
};

// The type named by word (any case), or AnyType when it names none.
PartType TypeFromName(std::string_view word);
std::string_view TypeName(PartType type);
bool IsPlaceable(PartType type);

// Name of the index file of a library folder.
inline constexpr std::string_view kIndexFileName = "library.index";

// Names are compared with Unicode simple case folding and nothing else.
std::u16string FoldName(std::u16string_view name);

struct Part {
    std::int32_t index = 0; // 1-based, stable while the host runs
    std::u16string name;    // as written in the file name
    PartType type = Object;
    std::filesystem::path file; // the part file; where it would be when the definition is missing
    bool missingDef = false;
    std::size_t library = 0; // position in Libraries()
};

struct Library {
    std::filesystem::path folder;   // absolute, without trailing "/"
    std::filesystem::path identity; // for recognising a folder loaded twice
    bool listed = true;             // false: a built-in library (searchable, not listed)
    bool active = true;             // false: its add-on is gone; its parts are no longer found
    std::size_t partCount = 0;
};

enum class AddResult { Added, AlreadyLoaded, NotFound, NotAFolder, Unreadable };

class Catalog {
public:
    // Loads every part file below folder. Problems with single files (an unreadable part, a bad
    // line of the index file) do not refuse the library; they are appended to warnings.
    AddResult Add(const std::filesystem::path& folder, bool listed, std::vector<std::string>* warnings = nullptr);
    // Stops finding the parts of the library at folder (a built-in library whose add-on is gone).
    void Deactivate(const std::filesystem::path& folder);

    const std::vector<Library>& Libraries() const { return libraries_; }
    std::size_t PartCount() const { return parts_.size(); }

    // The first part of that name and type (AnyType: any), a defined one before a missing one;
    // null when none.
    const Part* Find(std::u16string_view name, PartType type, bool onlyPlaceable) const;
    // By index; null when unknown or its library is inactive.
    const Part* Get(std::int32_t index) const;

private:
    void AddPart(Part part);

    std::vector<Library> libraries_;
    std::vector<Part> parts_;                                               // parts_[i].index == i + 1
    std::unordered_map<std::u16string, std::vector<std::uint32_t>> byName_; // folded name -> positions
};

} // namespace kfhost::libraries
