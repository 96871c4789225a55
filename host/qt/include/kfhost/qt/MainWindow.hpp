// The window that stands for the host application's: the menus the add-ons registered (check
// marks and disabled items from their flags), a Host menu that sends module commands as another
// add-on would, a log of what the host does and a status line.
#pragma once

#include <QMainWindow>

#include <cstdint>
#include <functional>

class QLabel;
class QMenu;
class QPlainTextEdit;

namespace kfhost {
class Host;
}

namespace kfhost::qt {

class QtRunLoop;

class MainWindow final : public QMainWindow {
public:
    // loop may be null (then the status line leaves the run loop out).
    MainWindow(Host& host, const QtRunLoop* loop);

    // Menus from what the add-ons registered; items are refreshed each time a menu opens.
    void RebuildMenus();
    void AppendLog(const QString& line);
    void UpdateStatus();
    QPlainTextEdit& LogView() { return *log_; }
    QLabel& StatusLabel() { return *status_; }
    // The registered menu shown for resource resID, null when none.
    QMenu* Menu(std::int16_t resID) const;

    std::function<void()> onClose;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void FillMenu(QMenu& menu, std::int16_t resID);
    void FillHostMenu(QMenu& menu);

    Host& host_;
    const QtRunLoop* loop_;
    QPlainTextEdit* log_;
    QLabel* status_;
};

} // namespace kfhost::qt
