#include "ResourceCheck.hpp"

#include "kfhost/Text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <iterator>
#include <map>

namespace kfhost {

namespace {

namespace fs = std::filesystem;

constexpr int kEnglish = 1;
constexpr const char* kSetForm = "(base + 0 ita, 1 int, 2 fra, 3 ger, 4 spa, 5 jap, 6 rus)";

// Short words that read the same in English and in at least one other of the seven languages.
constexpr std::array<std::u16string_view, 34> kSameWords{
    u"OK",     u"Name",   u"Info",   u"Internet", u"Web",     u"E-mail",    u"Email",    u"Logo",  u"Software",
    u"Design", u"Layout", u"Status", u"Version",  u"Menu",    u"Format",    u"Standard", u"Start", u"Stop",
    u"Test",   u"Filter", u"Text",   u"Online",   u"Offline", u"Copyright", u"Pixel",    u"Zoom",  u"Auto",
    u"Radio",  u"Hotel",  u"Plan",   u"Proxy",    u"Server",  u"Manager",   u"Mode"};

struct Origin {
    std::string file;
    int line = 0;
};

Origin OriginOf(const ResourceModule& module, const std::string& key)
{
    const auto it = module.origins.find(key);
    if (it == module.origins.end())
        return {};
    const std::string& where = it->second;
    const std::size_t colon = where.rfind(':');
    Origin origin{where, 0};
    if (colon != std::string::npos &&
        std::from_chars(where.data() + colon + 1, where.data() + where.size(), origin.line).ec == std::errc())
        origin.file = where.substr(0, colon);
    return origin;
}

bool Under(const std::string& file, const fs::path& folder)
{
    if (folder.empty() || file.empty())
        return false;
    const fs::path relative = fs::path(file).lexically_normal().lexically_relative(folder.lexically_normal());
    return !relative.empty() && *relative.begin() != "..";
}

class Checker {
public:
    Checker(const ResourceModule& module, const ResourceCheckOptions& options) : module_(module), options_(options) {}

    std::vector<ResourceFinding> Run()
    {
        for (const auto& [resID, dialog] : module_.dialogs)
            if (!FromPack("dialog " + std::to_string(resID)))
                Dialog(dialog);
        for (const auto& [resID, menu] : module_.menus)
            if (!FromPack("menu " + std::to_string(resID)))
                Menu(menu);
        for (const auto& [resID, icon] : module_.icons)
            if (!FromPack("icon " + std::to_string(resID))) {
                std::ifstream in(icon.file, std::ios::binary);
                const std::string data{std::istreambuf_iterator<char>(in), {}};
                if (const std::string problem = PngProblem(data); !problem.empty())
                    Add(Topic::Layout, true, "icon " + std::to_string(resID),
                        "icon " + std::to_string(resID) + ": " + problem);
            }
        const LanguageSets sets = FindLanguageSets(module_);
        for (const std::int16_t first : sets.broken)
            if (!FromPack(ListKey(first)))
                Add(Topic::Translation, true, ListKey(first),
                    "string lists from " + std::to_string(first) + " on are not whole sets of seven languages " +
                        kSetForm);
        for (const std::int16_t first : sets.short_)
            if (!FromPack(ListKey(first)))
                Add(Topic::Translation, false, ListKey(first),
                    "string lists from " + std::to_string(first) +
                        " on look like a set of seven languages that lacks a language " + kSetForm);
        for (const std::int16_t base : sets.bases)
            Set(base);
        return std::move(findings_);
    }

private:
    using Topic = ResourceFinding::Topic;

    bool FromPack(const std::string& key) const { return Under(OriginOf(module_, key).file, options_.frameworkPack); }

    void Add(Topic topic, bool error, const std::string& key, std::string message)
    {
        const Origin origin = OriginOf(module_, key);
        findings_.push_back(ResourceFinding{topic, error, origin.file, origin.line, std::move(message)});
    }

    void Dialog(const DialogTemplate& dialog)
    {
        const std::string name = "dialog " + std::to_string(dialog.resID);
        if (dialog.items.empty())
            Add(Topic::Layout, true, name, name + " has no items");
        if (dialog.cancelItem > std::int16_t(dialog.items.size()))
            Add(Topic::Layout, true, name,
                name + " names cancel item " + std::to_string(dialog.cancelItem) + ", which it does not have");
        for (const ItemTemplate& item : dialog.items) {
            const std::string itemName = name + " item " + std::to_string(item.number);
            const Rect& r = item.rect;
            if (r.left < 0 || r.top < 0 || r.width <= 0 || r.height <= 0 || r.left + r.width > dialog.width ||
                r.top + r.height > dialog.height)
                Add(Topic::Layout, true, itemName,
                    itemName + " (" + std::to_string(r.left) + " " + std::to_string(r.top) + " " +
                        std::to_string(r.width) + " " + std::to_string(r.height) + ") lies outside the dialog's " +
                        std::to_string(dialog.width) + " x " + std::to_string(dialog.height));
            if (item.kind == ItemKind::Icon && !module_.icons.contains(item.iconResID))
                Add(Topic::Layout, true, itemName,
                    itemName + " shows icon " + std::to_string(item.iconResID) + ", which the bundle lacks");
        }
    }

    void Menu(const MenuTemplate& menu)
    {
        const std::string name = "menu " + std::to_string(menu.resID);
        if (menu.title.empty())
            Add(Topic::Layout, true, name, name + " has no title");
        if (menu.items.empty())
            Add(Topic::Layout, true, name, name + " has no items");
        for (std::size_t i = 0; i < menu.items.size(); ++i)
            if (menu.items[i].text.empty()) {
                const std::string itemName = name + " item " + std::to_string(i + 1);
                Add(Topic::Layout, true, itemName, itemName + " has no text");
            }
    }

    static std::string ListName(std::int16_t base, int language)
    {
        return std::to_string(base + language) + " (" + std::string(kLanguageSuffixes[language]) + ")";
    }
    static std::string ListKey(int list) { return "strings " + std::to_string(list); }
    static std::string StringKey(int list, std::int16_t index)
    {
        return ListKey(list) + " index " + std::to_string(index);
    }

    // The placeholders a text carries (what the framework and printf-style formatting replace at run
    // time: ADDONNAME, ADDONLIBNAME, %s, %ld, %%, ^1), in order; every language needs the same. What
    // is left of the text without them goes to rest when asked.
    static std::multiset<std::string> Placeholders(const std::u16string& text, std::string* rest = nullptr)
    {
        std::multiset<std::string> found;
        const std::string utf8 = ToUTF8(text);
        for (std::size_t i = 0; i < utf8.size();) {
            std::size_t length = 0;
            const std::string_view at = std::string_view(utf8).substr(i);
            if (at.starts_with("ADDONLIBNAME"))
                length = 12;
            else if (at.starts_with("ADDONNAME"))
                length = 9;
            else if (at.size() >= 2 && at[0] == '^' && at[1] >= '0' && at[1] <= '9')
                length = 2;
            else if (at[0] == '%')
                length = FormatLength(at);
            if (length == 0) {
                if (rest)
                    *rest += utf8[i];
                ++i;
                continue;
            }
            if (at.substr(0, length) != "%%")
                found.insert(std::string(at.substr(0, length)));
            i += length;
        }
        return found;
    }

    // The length of a printf conversion at the start of text ("%-5.2ld"), 0 when there is none.
    static std::size_t FormatLength(std::string_view text)
    {
        std::size_t i = 1;
        while (i < text.size() && std::string_view("-+ #0123456789.").find(text[i]) != std::string_view::npos)
            ++i;
        for (const std::string_view size : {"hh", "ll", "h", "l", "L", "z", "j", "t"})
            if (text.substr(i).starts_with(size)) {
                i += size.size();
                break;
            }
        const bool conversion = i < text.size() && ((text[i] >= 'a' && text[i] <= 'z') ||
                                                    (text[i] >= 'A' && text[i] <= 'Z') || text[i] == '%');
        return conversion ? i + 1 : 0;
    }

    static std::string Join(const std::multiset<std::string>& items)
    {
        std::string out;
        for (const auto& item : items)
            out += (out.empty() ? "" : " ") + item;
        return out.empty() ? "none" : out;
    }

    // A text that may read the same in English and another language: a word of the list (with or
    // without a colon), one the developer listed, or one without a letter outside its placeholders.
    bool MayBeTheSame(const std::u16string& text) const
    {
        if (options_.sameTexts.contains(text))
            return true;
        std::u16string_view word = text;
        if (!word.empty() && word.back() == u':')
            word.remove_suffix(1);
        if (std::find(kSameWords.begin(), kSameWords.end(), word) != kSameWords.end())
            return true;
        std::string rest;
        Placeholders(text, &rest);
        return std::none_of(rest.begin(), rest.end(), [](char c) {
            return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (static_cast<unsigned char>(c) & 0x80);
        });
    }

    void Set(std::int16_t base)
    {
        std::array<bool, 7> pack{};
        for (int language = 0; language < 7; ++language)
            pack[std::size_t(language)] = FromPack(ListKey(base + language));
        if (std::all_of(pack.begin(), pack.end(), [](bool p) { return p; }))
            return;
        auto list = [&](int language) -> const std::map<std::int16_t, std::u16string>& {
            return module_.strings.at(std::int16_t(base + language));
        };
        std::set<std::int16_t> indexes;
        for (int language = 0; language < 7; ++language)
            for (const auto& [index, text] : list(language))
                indexes.insert(index);
        const auto& english = list(kEnglish);
        for (const std::int16_t index : indexes) {
            // Named after a language that has it, English when it does.
            int having = kEnglish;
            for (int language = 0; !english.contains(index) && language < 7; ++language)
                if (list(language).contains(index)) {
                    having = language;
                    break;
                }
            for (int language = 0; language < 7; ++language) {
                if (list(language).contains(index))
                    continue;
                // The pack's list cannot be changed: the add-on's list that brought the index is at fault.
                const int at = pack[std::size_t(language)] ? having : language;
                Add(Topic::Translation, true,
                    pack[std::size_t(language)] ? StringKey(base + at, index) : ListKey(base + at),
                    "string list " + ListName(base, language) + " lacks index " + std::to_string(index) + ", which " +
                        ListName(base, having) + " has");
            }
        }
        for (int language = 0; language < 7; ++language) {
            if (pack[std::size_t(language)])
                continue;
            for (const auto& [index, text] : list(language)) {
                const std::string where = "string list " + ListName(base, language) + " index " + std::to_string(index);
                const std::string key = StringKey(base + language, index);
                if (text.empty()) {
                    Add(Topic::Translation, true, key, where + " is empty");
                    continue;
                }
                const auto en = english.find(index);
                if (language == kEnglish || en == english.end())
                    continue;
                if (const auto mine = Placeholders(text), theirs = Placeholders(en->second); mine != theirs)
                    Add(Topic::Translation, true, key,
                        where + " carries the placeholders " + Join(mine) + " where English carries " + Join(theirs));
                if (text == en->second && !MayBeTheSame(text))
                    Add(Topic::Translation, false, key,
                        where + " is the English text \"" + ToUTF8(text) + "\" (translate it, or list it in " +
                            std::string(kSameTextsFile) + " when it stays the same in every language)");
            }
        }
    }

    const ResourceModule& module_;
    const ResourceCheckOptions& options_;
    std::vector<ResourceFinding> findings_;
};

} // namespace

std::string ResourceFinding::Located() const
{
    if (file.empty())
        return message;
    std::string located = file;
    if (line > 0)
        located.append(1, ':').append(std::to_string(line));
    return located.append(": ").append(message);
}

LanguageSets FindLanguageSets(const ResourceModule& module)
{
    LanguageSets sets;
    const auto& lists = module.strings;
    for (auto it = lists.begin(); it != lists.end();) {
        const std::int16_t first = it->first;
        std::int16_t last = first;
        for (++it; it != lists.end() && it->first == last + 1; ++it)
            last = it->first;
        const int count = last - first + 1;
        if (count > 7 && count % 7 != 0)
            sets.broken.push_back(first);
        else if (count == 5 || count == 6)
            sets.short_.push_back(first);
        else
            for (int base = first; base + 6 <= last; base += 7)
                sets.bases.push_back(std::int16_t(base));
    }
    return sets;
}

std::vector<ResourceFinding> CheckResources(const ResourceModule& module, const ResourceCheckOptions& options)
{
    return Checker(module, options).Run();
}

void ReadSameTexts(const fs::path& file, std::set<std::u16string>& into)
{
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && !FindInvalidUTF8(line))
            into.insert(FromUTF8(line));
    }
}

} // namespace kfhost
