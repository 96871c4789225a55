#include "kftest/SettingsFiles.hpp"

#include "kftest/InProcessHost.hpp"

namespace kftest {

std::string Scrambled(std::string bytes)
{
    for (char& c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        c = static_cast<char>(static_cast<unsigned char>((b << 4) | (b >> 4)));
    }
    return bytes;
}

SettingsEntries ReadSettingsFile(const std::filesystem::path& file)
{
    const std::string text = Scrambled(ReadFile(file));
    SettingsEntries entries;
    for (std::size_t pos = 0; pos < text.size();) {
        const std::size_t end = text.find('\n', pos);
        const std::size_t colon = text.find(": ", pos);
        if (text[pos] != '$' || end == std::string::npos || colon == std::string::npos || colon > end)
            return {{"<malformed>", text}};
        entries.emplace_back(text.substr(pos + 1, colon - pos - 1), text.substr(colon + 2, end - colon - 2));
        pos = end + 1;
    }
    return entries;
}

void WriteSettingsFile(const std::filesystem::path& file, const SettingsEntries& entries)
{
    std::string text;
    for (const auto& [name, value] : entries)
        text += "$" + name + ": " + value + "\n";
    WriteFile(file, Scrambled(text));
}

} // namespace kftest
