// The checks a bundle's resources pass, the same when the bundle is built (kfresources) and when it
// is validated (kfhost validate): dialogs, menus, icons and the seven-language string lists. Each
// finding names the file and the line of what is wrong: the item, the string, the list.
#pragma once

#include "kfhost/Resources.hpp"

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost {

struct ResourceFinding {
    enum class Topic { Layout, Translation };
    Topic topic = Topic::Layout;
    bool error = true; // false: a warning
    std::string file;  // empty when the resource's origin is unknown
    int line = 0;
    std::string message;
    // "file:line: message", or the message alone.
    std::string Located() const;
};

struct ResourceCheckOptions {
    // Resources read from under this folder are the framework's own pack: they are checked when the
    // framework is built, and nothing in them is the add-on developer's to fix.
    std::filesystem::path frameworkPack;
    // Texts that may read the same in English and in another language, beyond the short words every
    // add-on may leave alone ("OK", "Name:", "Internet"...).
    std::set<std::u16string> sameTexts;
};

std::vector<ResourceFinding> CheckResources(const ResourceModule& module, const ResourceCheckOptions& options);

// A file of texts that stay the same in every language, one a line, anywhere in the resources.
inline constexpr std::string_view kSameTextsFile = "untranslated.txt";
void ReadSameTexts(const std::filesystem::path& file, std::set<std::u16string>& into);

// What keeps a PNG image from being shown; empty when it decodes.
std::string PngProblem(std::string_view data);

// The language of each list of a seven-language set (base + language).
inline constexpr std::string_view kLanguageSuffixes[7] = {"ita", "int", "fra", "ger", "spa", "jap", "rus"};

// The bases of the seven-language sets among lists: every run of seven or more consecutive list
// numbers, cut into sevens. A run of more than seven that is no whole number of sevens is answered
// in `broken`, one of five or six (a set that lacks a language, most likely) in `short_` (its first
// list each); shorter runs are lists of their own.
struct LanguageSets {
    std::vector<std::int16_t> bases;
    std::vector<std::int16_t> broken;
    std::vector<std::int16_t> short_;
};
LanguageSets FindLanguageSets(const ResourceModule& module);

} // namespace kfhost
