// Pictures of windows, numbered in the order they are taken: 001-32500.png, 002-32734.png, ...
#pragma once

#include <filesystem>
#include <string>
#include <vector>

class QPixmap;
class QWidget;

namespace kfhost::qt {

class Screenshots {
public:
    explicit Screenshots(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Saves what window shows as NNN-name.png (the folder is made when missing); answers the file,
    // or an empty path and *why when it cannot be written.
    std::filesystem::path Save(QWidget& window, const std::string& name, std::string* why = nullptr);
    std::filesystem::path Save(const QPixmap& picture, const std::string& name, std::string* why = nullptr);
    // The windows as they stand on the screen, each under a title bar, on a plain ground: the
    // offscreen platform draws no window frames of its own.
    static QPixmap Desktop(const std::vector<QWidget*>& windows);
    int Taken() const { return next_ - 1; }
    const std::filesystem::path& Folder() const { return folder_; }

private:
    std::filesystem::path folder_;
    int next_ = 1;
};

} // namespace kfhost::qt
