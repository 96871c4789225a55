// Pictures of windows, numbered in the order they are taken: 001-32500.png, 002-32734.png, ...
#pragma once

#include <filesystem>
#include <string>

class QWidget;

namespace kfhost::qt {

class Screenshots {
public:
    explicit Screenshots(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Saves what window shows as NNN-name.png (the folder is made when missing); answers the file,
    // or an empty path and *why when it cannot be written.
    std::filesystem::path Save(QWidget& window, const std::string& name, std::string* why = nullptr);
    int Taken() const { return next_ - 1; }
    const std::filesystem::path& Folder() const { return folder_; }

private:
    std::filesystem::path folder_;
    int next_ = 1;
};

} // namespace kfhost::qt
