#include "LibrariesCatalog.hpp"

#include "kfhost/Text.hpp"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <system_error>

namespace kfhost::libraries {
namespace {

constexpr std::array<std::string_view, 10> kTypeNames = {"",      "Window", "Door",    "Object",     "Lamp",
                                                         "Label", "Macro",  "Picture", "ListScheme", "Skylight"};

bool EqualsIgnoreAsciiCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
               return lower(x) == lower(y);
           });
}

std::string_view Trim(std::string_view text)
{
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Splits "first rest..." at the first run of blanks.
std::pair<std::string_view, std::string_view> FirstWord(std::string_view text)
{
    std::size_t const end = text.find_first_of(" \t");
    if (end == std::string_view::npos)
        return {text, {}};
    return {text.substr(0, end), Trim(text.substr(end))};
}

constexpr std::string_view kBOM = "\xEF\xBB\xBF";

// The type a part file declares on its first line ("type Object"), or AnyType when the file is
// not a part file.
PartType DeclaredType(const std::filesystem::path& file, bool& unreadable)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        unreadable = true;
        return AnyType;
    }
    std::string line;
    line.resize(256);
    in.read(line.data(), std::streamsize(line.size()));
    line.resize(std::size_t(in.gcount()));
    std::string_view text = line;
    if (text.substr(0, kBOM.size()) == kBOM)
        text.remove_prefix(kBOM.size());
    text = text.substr(0, text.find('\n'));
    const auto [keyword, rest] = FirstWord(Trim(text));
    if (!EqualsIgnoreAsciiCase(keyword, "type") || rest.find_first_of(" \t") != std::string_view::npos)
        return AnyType;
    return TypeFromName(rest);
}

bool Hidden(const std::filesystem::path& entry)
{
    std::string const name = entry.filename().string();
    return !name.empty() && name.front() == '.';
}

// The part's name: the file name without what follows its last ".".
std::u16string PartName(const std::filesystem::path& file)
{
    std::string const name = file.filename().string();
    std::size_t const dot = name.rfind('.');
    return FromUTF8(dot == std::string::npos ? std::string_view(name) : std::string_view(name).substr(0, dot));
}

std::string Where(const std::filesystem::path& file, std::size_t line)
{
    return file.string() + ":" + std::to_string(line) + ": ";
}

} // namespace

PartType TypeFromName(std::string_view word)
{
    for (std::size_t i = 1; i < kTypeNames.size(); ++i) {
        if (EqualsIgnoreAsciiCase(word, kTypeNames[i]))
            return PartType(i);
    }
    return AnyType;
}

std::string_view TypeName(PartType type)
{
    const auto i = std::size_t(type);
    return i < kTypeNames.size() ? kTypeNames[i] : std::string_view("?");
}

bool IsPlaceable(PartType type)
{
    return type != Macro && type != Picture && type != ListScheme;
}

std::u16string FoldName(std::u16string_view name)
{
    std::u16string folded;
    folded.reserve(name.size());
    std::size_t i = 0;
    while (i < name.size()) {
        UChar32 c = 0;
        U16_NEXT(name.data(), i, name.size(), c);
        const UChar32 f = u_foldCase(c, U_FOLD_CASE_DEFAULT);
        if (U_IS_BMP(f)) {
            folded.push_back(char16_t(f));
        } else {
            folded.push_back(char16_t(U16_LEAD(f)));
            folded.push_back(char16_t(U16_TRAIL(f)));
        }
    }
    return folded;
}

AddResult Catalog::Add(const std::filesystem::path& folder, bool listed, std::vector<std::string>* warnings)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::path absolute = fs::absolute(folder, ec).lexically_normal();
    if (ec)
        return AddResult::NotFound;
    if (!absolute.has_filename() && absolute.has_parent_path() && absolute != absolute.root_path())
        absolute = absolute.parent_path();
    fs::file_status const status = fs::status(absolute, ec);
    if (!fs::exists(status))
        return AddResult::NotFound;
    if (!fs::is_directory(status))
        return AddResult::NotAFolder;
    fs::path const identity = fs::weakly_canonical(absolute, ec);
    for (Library& library : libraries_) {
        if (library.identity == identity) {
            // A built-in library that comes back is found again.
            library.active = true;
            library.listed = library.listed || listed;
            return AddResult::AlreadyLoaded;
        }
    }

    std::vector<fs::path> files;
    fs::recursive_directory_iterator it(absolute, fs::directory_options::skip_permission_denied, ec);
    if (ec)
        return AddResult::Unreadable;
    for (fs::recursive_directory_iterator end; it != end; it.increment(ec)) {
        if (ec)
            break;
        if (Hidden(it->path())) {
            if (it->is_directory(ec))
                it.disable_recursion_pending();
            continue;
        }
        if (it->is_regular_file(ec) && !(it.depth() == 0 && it->path().filename() == kIndexFileName))
            files.push_back(it->path());
    }
    if (ec && warnings != nullptr)
        warnings->push_back(absolute.string() + ": listing stopped: " + ec.message());
    std::sort(files.begin(), files.end());

    std::size_t const position = libraries_.size();
    libraries_.push_back(Library{absolute, identity, listed, true, 0});
    std::size_t const before = parts_.size();
    for (const fs::path& file : files) {
        bool unreadable = false;
        const PartType type = DeclaredType(file, unreadable);
        if (unreadable && warnings != nullptr)
            warnings->push_back(file.string() + ": cannot be read");
        if (type != AnyType)
            AddPart(Part{0, PartName(file), type, file, false, position});
    }

    // Names the index lists without a part file: known, their definition missing.
    fs::path const indexFile = absolute / kIndexFileName;
    std::ifstream index(indexFile, std::ios::binary);
    std::string line;
    for (std::size_t number = 1; index && std::getline(index, line); ++number) {
        std::string_view text = line;
        if (number == 1 && text.substr(0, kBOM.size()) == kBOM)
            text.remove_prefix(kBOM.size());
        text = Trim(text);
        if (text.empty() || text.front() == '#')
            continue;
        const auto [word, nameText] = FirstWord(text);
        const PartType type = TypeFromName(word);
        if (type == AnyType || nameText.empty()) {
            if (warnings != nullptr) {
                warnings->push_back(Where(indexFile, number) + (type == AnyType ? "unknown part type " + Quote(word)
                                                                                : std::string("no part name")));
            }
            continue;
        }
        std::u16string const name = FromUTF8(nameText);
        std::u16string const folded = FoldName(name);
        const auto found = byName_.find(folded);
        const bool defined = found != byName_.end() &&
                             std::any_of(found->second.begin(), found->second.end(),
                                         [&](std::uint32_t at) { return at >= before && parts_[at].type == type; });
        if (!defined)
            AddPart(Part{0, name, type, absolute / std::string(nameText), true, position});
    }
    libraries_[position].partCount = parts_.size() - before;
    return AddResult::Added;
}

void Catalog::AddPart(Part part)
{
    part.index = std::int32_t(parts_.size() + 1);
    byName_[FoldName(part.name)].push_back(std::uint32_t(parts_.size()));
    parts_.push_back(std::move(part));
}

void Catalog::Deactivate(const std::filesystem::path& folder)
{
    std::error_code ec;
    std::filesystem::path const identity = std::filesystem::weakly_canonical(folder, ec);
    for (Library& library : libraries_) {
        if (library.identity == identity)
            library.active = false;
    }
}

const Part* Catalog::Find(std::u16string_view name, PartType type, bool onlyPlaceable) const
{
    const auto found = byName_.find(FoldName(name));
    if (found == byName_.end())
        return nullptr;
    const Part* missing = nullptr;
    for (std::uint32_t const at : found->second) {
        const Part& part = parts_[at];
        if (!libraries_[part.library].active || (type != AnyType && part.type != type) ||
            (onlyPlaceable && !IsPlaceable(part.type)))
            continue;
        if (!part.missingDef)
            return &part;
        if (missing == nullptr)
            missing = &part;
    }
    return missing;
}

const Part* Catalog::Get(std::int32_t index) const
{
    if (index < 1 || std::size_t(index) > parts_.size())
        return nullptr;
    const Part& part = parts_[std::size_t(index) - 1];
    return libraries_[part.library].active ? &part : nullptr;
}

} // namespace kfhost::libraries
