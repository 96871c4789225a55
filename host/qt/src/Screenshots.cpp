#include "kfhost/qt/Screenshots.hpp"

#include <QPainter>
#include <QPixmap>
#include <QWidget>

#include <cstdio>
#include <system_error>

namespace kfhost::qt {

std::filesystem::path Screenshots::Save(QWidget& window, const std::string& name, std::string* why)
{
    return Save(window.grab(), name, why);
}

std::filesystem::path Screenshots::Save(const QPixmap& picture, const std::string& name, std::string* why)
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
    if (picture.isNull() || !picture.save(QString::fromStdString(file.string()), "PNG")) {
        if (why)
            *why = "cannot write " + file.string();
        return {};
    }
    ++next_;
    return file;
}

QPixmap Screenshots::Desktop(const std::vector<QWidget*>& windows)
{
    constexpr int kTitle = 24;
    constexpr int kMargin = 16;
    QRect bounds;
    for (const QWidget* window : windows)
        bounds |= window->geometry().adjusted(0, -kTitle, 0, 0);
    if (bounds.isEmpty())
        return {};
    QPixmap desktop(bounds.size() + QSize(2 * kMargin, 2 * kMargin));
    desktop.fill(QColor(0x4a, 0x55, 0x63));
    QPainter painter(&desktop);
    const QPoint origin = QPoint(kMargin, kMargin) - bounds.topLeft();
    for (QWidget* window : windows) {
        const QRect frame = window->geometry().translated(origin);
        const QRect title(frame.left(), frame.top() - kTitle, frame.width(), kTitle);
        painter.fillRect(title, QColor(0xdd, 0xdf, 0xe3));
        painter.setPen(QColor(0x30, 0x30, 0x30));
        painter.drawText(title.adjusted(8, 0, -8, 0), Qt::AlignCenter, window->windowTitle());
        painter.drawPixmap(frame.topLeft(), window->grab());
        painter.setPen(QColor(0x22, 0x22, 0x22));
        painter.drawRect(frame.adjusted(0, -kTitle, -1, -1));
    }
    return desktop;
}

} // namespace kfhost::qt
