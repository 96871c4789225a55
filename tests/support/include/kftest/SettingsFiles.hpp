// Settings and communication files as the tests write and read them: "$name: value\n" entries
// with the two halves of every byte swapped.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kftest {

using SettingsEntries = std::vector<std::pair<std::string, std::string>>;

// Swaps the halves of every byte; its own inverse, so it both scrambles and unscrambles.
std::string Scrambled(std::string bytes);

// The entries in file order; a missing or empty file gives none, and a file that is not entries
// throughout gives the single entry "<malformed>" holding its plain text.
SettingsEntries ReadSettingsFile(const std::filesystem::path& file);
void WriteSettingsFile(const std::filesystem::path& file, const SettingsEntries& entries);

} // namespace kftest
