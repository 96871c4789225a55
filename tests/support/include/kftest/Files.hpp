// Scratch folders and whole files for tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kftest {

// A fresh temporary folder, removed when the object goes.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

// Whole-file helpers for tests.
std::string ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, std::string_view content);

} // namespace kftest
