#include "kfhost/qt/MainWindow.hpp"

#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/qt/QtRunLoop.hpp"

#include <QAction>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QStatusBar>

namespace kfhost::qt {
namespace {

QString Q(const std::u16string& text)
{
    return QString::fromStdU16String(text);
}
QString Q(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

MainWindow::MainWindow(Host& host, const QtRunLoop* loop) : host_(host), loop_(loop)
{
    setObjectName(QStringLiteral("kfhost"));
    setWindowTitle(QStringLiteral("kfhost (release %1)").arg(host.Config().release));
    log_ = new QPlainTextEdit(this);
    log_->setObjectName(QStringLiteral("log"));
    log_->setReadOnly(true);
    log_->setMaximumBlockCount(5000);
    log_->setLineWrapMode(QPlainTextEdit::NoWrap);
    log_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setCentralWidget(log_);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("status"));
    statusBar()->addWidget(status_, 1);
    resize(720, 460);
    RebuildMenus();
    UpdateStatus();
}

void MainWindow::RebuildMenus()
{
    menuBar()->clear();
    QMenu* hostMenu = menuBar()->addMenu(QStringLiteral("&Host"));
    hostMenu->setObjectName(QStringLiteral("hostMenu"));
    connect(hostMenu, &QMenu::aboutToShow, [this, hostMenu] { FillHostMenu(*hostMenu); });
    FillHostMenu(*hostMenu);
    for (const RegisteredMenu& registered : host_.Menus()) {
        // Titles are the add-on's own texts: "&" is a character there, not a shortcut mark.
        QMenu* menu = menuBar()->addMenu(Q(registered.title).replace(QLatin1Char('&'), QLatin1String("&&")));
        menu->setObjectName(QStringLiteral("menu%1").arg(registered.resID));
        const std::int16_t resID = registered.resID;
        connect(menu, &QMenu::aboutToShow, [this, menu, resID] { FillMenu(*menu, resID); });
        FillMenu(*menu, resID);
    }
}

QMenu* MainWindow::Menu(std::int16_t resID) const
{
    return menuBar()->findChild<QMenu*>(QStringLiteral("menu%1").arg(resID));
}

void MainWindow::FillMenu(QMenu& menu, std::int16_t resID)
{
    menu.clear();
    const RegisteredMenu* registered = host_.FindMenu(resID);
    if (!registered)
        return;
    for (std::size_t i = 0; i < registered->items.size(); ++i) {
        const MenuItemState& state = registered->items[i];
        QAction* action = menu.addAction(Q(state.text).replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setCheckable((state.flags & kMenuItemChecked) != 0);
        action->setChecked((state.flags & kMenuItemChecked) != 0);
        action->setEnabled((state.flags & kMenuItemDisabled) == 0);
        const auto index = std::int32_t(i + 1);
        connect(
            action, &QAction::triggered, this,
            [this, resID, index] {
                host_.Log().Add("> menu " + std::to_string(resID) + " " + std::to_string(index));
                if (const std::string why = host_.MenuCommand(resID, index).refusal; !why.empty())
                    host_.Log().Add("refused: " + why);
                UpdateStatus();
            },
            Qt::QueuedConnection); // the menu is gone before the add-on's dialogs come up
    }
}

void MainWindow::FillHostMenu(QMenu& menu)
{
    menu.clear();
    for (const auto& addOn : host_.AddOns()) {
        AddOn* target = addOn.get();
        for (const auto& [cmd, version] : addOn->services) {
            const std::string label =
                "Send " + Quote(FourCCText(cmd)) + " version " + std::to_string(version) + " to " + addOn->name;
            const std::uint32_t code = cmd;
            const std::int32_t v = version;
            connect(
                menu.addAction(Q(label)), &QAction::triggered, this,
                [this, target, code, v] {
                    host_.Log().Add("> command " + Quote(FourCCText(code)) + " " + std::to_string(v));
                    if (const std::string why = host_.ModuleCommand({code, v, &target->moduleID}).refusal; !why.empty())
                        host_.Log().Add("refused: " + why);
                    UpdateStatus();
                },
                Qt::QueuedConnection);
        }
    }
    if (!menu.isEmpty())
        menu.addSeparator();
    // Unloads every bundle and loads it again from disk, so a rebuilt add-on runs without a restart.
    QAction* reload = menu.addAction(QStringLiteral("&Reload add-ons"));
    reload->setObjectName(QStringLiteral("reloadAddOns"));
    connect(
        reload, &QAction::triggered, this,
        [this] {
            host_.Log().Add("> reload");
            for (const LoadResult& r : host_.ReloadBundles())
                if (!r.Loaded())
                    host_.Log().Add("refused: cannot load " + r.path.string() + " again: " + r.reason);
            RebuildMenus();
            UpdateStatus();
        },
        Qt::QueuedConnection);
    connect(menu.addAction(QStringLiteral("&Quit")), &QAction::triggered, this, &QWidget::close);
}

void MainWindow::AppendLog(const QString& line)
{
    log_->appendPlainText(line);
    UpdateStatus();
}

void MainWindow::UpdateStatus()
{
    std::size_t loaded = 0;
    for (const auto& addOn : host_.AddOns())
        loaded += addOn->initialized ? 1 : 0;
    QString text = QStringLiteral("%1 add-on%2 loaded, %3 dialog%4 open")
                       .arg(loaded)
                       .arg(loaded == 1 ? "" : "s")
                       .arg(host_.Dialogs().OpenDialogs().size())
                       .arg(host_.Dialogs().OpenDialogs().size() == 1 ? "" : "s");
    if (loop_)
        text += QStringLiteral(", %1 timer%2 and %3 watch%4 on the run loop")
                    .arg(loop_->TimerCount())
                    .arg(loop_->TimerCount() == 1 ? "" : "s")
                    .arg(loop_->WatchCount())
                    .arg(loop_->WatchCount() == 1 ? "" : "es");
    status_->setText(text);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    event->accept();
    if (onClose)
        onClose();
}

} // namespace kfhost::qt
