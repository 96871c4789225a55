#include "kfhost/qt/Screenshots.hpp"

#include <QPixmap>
#include <QWidget>

#include <cstdio>
#include <system_error>

namespace kfhost::qt {

std::filesystem::path Screenshots::Save(QWidget& window, const std::string& name, std::string* why)
{
    std::error_code ec;
    std::filesystem::create_directories(folder_, ec);
    if (ec) {
        if (why)
            *why = "cannot make " + folder_.string() + ": " + ec.message();
        return {};
    }
    char number[16];
    std::snprintf(number, sizeof number, "%03d", next_);
    const std::filesystem::path file = folder_ / (std::string(number) + "-" + name + ".png");
    const QPixmap picture = window.grab();
    if (picture.isNull() || !picture.save(QString::fromStdString(file.string()), "PNG")) {
        if (why)
            *why = "cannot write " + file.string();
        return {};
    }
    ++next_;
    return file;
}

} // namespace kfhost::qt
