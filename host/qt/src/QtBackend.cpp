#include "kfhost/qt/QtBackend.hpp"

#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/script/Runner.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/qt/DialogWindow.hpp"
#include "kfhost/qt/Screenshots.hpp"

#include <QEventLoop>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include <algorithm>

namespace kfhost::qt {
namespace {

// A system dialog run for a person: the time it takes is not the add-on's (--timeout).
int UsersAnswer(QDialog& dialog)
{
    const UserWait waiting;
    return dialog.exec();
}

QString Q(const std::u16string& text)
{
    return QString::fromStdU16String(text);
}

// Alert kinds of the dialog manager.
QMessageBox::Icon AlertIcon(std::int16_t type)
{
    switch (type) {
    case 0:
        return QMessageBox::Critical;
    case 2:
        return QMessageBox::Warning;
    default:
        return QMessageBox::Information;
    }
}

} // namespace

QtBackend::QtBackend(Host& host, ScriptRunner& script) : host_(host), script_(script), transcript_(host, script) {}

QtBackend::~QtBackend()
{
    for (auto& [id, loop] : modalLoops_)
        loop->quit();
    for (auto& [id, window] : windows_)
        delete window.data();
}

Dialog* QtBackend::Open(std::int16_t dialogID)
{
    Dialog* dialog = host_.Dialogs().Find(dialogID);
    return dialog && dialog->IsOpen() ? dialog : nullptr;
}

DialogWindow* QtBackend::Window(std::int16_t dialogID) const
{
    const auto it = windows_.find(dialogID);
    return it == windows_.end() ? nullptr : it->second.data();
}

std::vector<DialogWindow*> QtBackend::Windows() const
{
    std::vector<DialogWindow*> windows;
    for (const std::int16_t id : order_)
        if (DialogWindow* window = Window(id))
            windows.push_back(window);
    return windows;
}

DialogWindow& QtBackend::WindowFor(Dialog& dialog)
{
    if (DialogWindow* window = Window(dialog.id))
        return *window;
    auto* window = new DialogWindow(*this, dialog, anchor_.data());
    windows_[dialog.id] = window;
    order_.push_back(dialog.id);
    return *window;
}

void QtBackend::Place(DialogWindow& window, const Dialog& dialog)
{
    if (!anchor_ || !anchor_->isVisible())
        return;
    const QRect main = anchor_->frameGeometry();
    if (dialog.modal) {
        window.move(main.center() - QPoint(dialog.width / 2, dialog.height / 2));
        return;
    }
    // Modeless windows stand beside the application window, each a little below the last.
    QPoint at = main.topRight() + QPoint(12, 24 * (modelessPlaced_ % 8));
    // Kept on the screen, except offscreen, where the screen is only nominal.
    if (const QScreen* screen = anchor_->screen(); screen && QGuiApplication::platformName() != "offscreen") {
        const QRect free = screen->availableGeometry();
        if (at.x() + dialog.width > free.right())
            at.setX(std::max(free.left(), free.right() - dialog.width));
    }
    window.move(at);
    ++modelessPlaced_;
}

void QtBackend::Shown(Dialog& dialog)
{
    DialogWindow& window = WindowFor(dialog);
    window.Sync(dialog);
    dirty_.erase(dialog.id);
    transcript_.Shown(dialog);
    if (!window.isVisible()) {
        Place(window, dialog);
        window.show();
    }
    window.raise();
    window.activateWindow();
    if (onWindowsChanged_)
        onWindowsChanged_();
}

void QtBackend::RunModal(Dialog& dialog)
{
    const std::int16_t id = dialog.id;
    Flush();
    while (dialog.IsOpen() && step_) {
        const auto step = step_; // the script may end while its line runs
        if (step())
            continue;
        if (!batch_)
            break; // the user takes over where the script ends
        // Never wait for input that cannot come: report, then close as the close box would.
        if (forcedCloses_ < 100)
            script_.Fail("dialog " + std::to_string(dialog.resID) + " is still waiting for the script");
        ++forcedCloses_;
        host_.Dialogs().CloseBox(dialog);
    }
    if (!dialog.IsOpen())
        return;
    QEventLoop loop;
    modalLoops_[id] = &loop;
    const bool scripted = scripted_;
    scripted_ = false; // what happens now is the user's doing
    {
        const UserWait waiting; // the time a person takes is not the add-on's (--timeout)
        loop.exec(QEventLoop::DialogExec);
    }
    scripted_ = scripted;
    modalLoops_.erase(id);
}

void QtBackend::Changed(Dialog& dialog)
{
    dirty_.insert(dialog.id);
    if (flushQueued_)
        return;
    flushQueued_ = true;
    QMetaObject::invokeMethod(
        &context_, [this] { Flush(); }, Qt::QueuedConnection);
}

void QtBackend::Flush()
{
    flushQueued_ = false;
    const std::set<std::int16_t> dirty = std::move(dirty_);
    dirty_.clear();
    for (const std::int16_t id : dirty)
        if (Dialog* dialog = Open(id))
            if (DialogWindow* window = Window(id))
                window->Sync(*dialog);
}

void QtBackend::Closed(Dialog& dialog)
{
    transcript_.Closed(dialog);
    dirty_.erase(dialog.id);
    if (const auto loop = modalLoops_.find(dialog.id); loop != modalLoops_.end())
        loop->second->quit();
    if (const auto it = windows_.find(dialog.id); it != windows_.end()) {
        const QPointer<DialogWindow> window = it->second;
        windows_.erase(it);
        order_.erase(std::remove(order_.begin(), order_.end(), dialog.id), order_.end());
        if (window) {
            window->hide();
            window->deleteLater(); // its own button's signal may still be on the stack
        }
    }
    if (onWindowsChanged_)
        onWindowsChanged_();
}

std::int16_t QtBackend::Alert(const AlertRequest& request)
{
    QMessageBox box(anchor_.data());
    box.setObjectName(QStringLiteral("alert"));
    box.setIcon(AlertIcon(request.type));
    box.setWindowTitle(Q(request.texts[0]));
    box.setText(Q(request.texts[1]));
    box.setInformativeText(Q(request.texts[2]));
    std::vector<QAbstractButton*> buttons;
    for (int b = 0; b < 3; ++b)
        if (!request.texts[3 + b].empty())
            buttons.push_back(
                box.addButton(Q(request.texts[3 + b]), b == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
    if (buttons.empty())
        buttons.push_back(box.addButton(QMessageBox::Ok));
    box.setDefaultButton(qobject_cast<QPushButton*>(buttons.front()));

    if (step_) {
        // A script answers alerts as headless does (the first button); the picture shows it.
        if (screenshots_) {
            box.show();
            std::string why;
            if (screenshots_->Save(box, "alert", &why).empty())
                script_.Fail(why);
            box.hide();
        }
        return transcript_.Alert(request);
    }
    transcript_.Alert(request);
    UsersAnswer(box);
    const auto chosen = std::find(buttons.begin(), buttons.end(), box.clickedButton());
    return chosen == buttons.end() ? std::int16_t(1) : std::int16_t(chosen - buttons.begin() + 1);
}

std::optional<FileAnswer> QtBackend::ChooseFile(const FileRequest& request)
{
    if (step_)
        return transcript_.ChooseFile(request);
    QFileDialog dialog(anchor_.data(), Q(request.title), Q(request.folder));
    dialog.setObjectName(QStringLiteral("fileDialog"));
    QStringList filters;
    for (const std::uint32_t id : request.filters) {
        if (id < 1 || id > host_.FileTypes().size())
            continue;
        const RegisteredFileType& type = host_.FileTypes()[id - 1];
        QString extension = Q(type.extension);
        while (extension.startsWith(QLatin1Char('.')))
            extension.remove(0, 1);
        filters << QStringLiteral("%1 (*%2%3)")
                       .arg(Q(type.description), extension.isEmpty() ? QString() : QStringLiteral("."), extension);
    }
    if (!filters.isEmpty())
        dialog.setNameFilters(filters);
    dialog.setAcceptMode(request.type == 2 ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(request.type == 2   ? QFileDialog::AnyFile
                       : request.type == 1 ? QFileDialog::ExistingFiles
                                           : QFileDialog::ExistingFile);
    const std::string line = "file dialog " + Quote(request.title);
    if (UsersAnswer(dialog) != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        host_.Log().Add(line + " -> cancel");
        return std::nullopt;
    }
    FileAnswer answer;
    answer.path = dialog.selectedFiles().front().toStdU16String();
    answer.filter = std::uint32_t(std::max<qsizetype>(0, filters.indexOf(dialog.selectedNameFilter())));
    host_.Log().Add(line + " -> " + Quote(answer.path));
    return answer;
}

std::optional<std::u16string> QtBackend::ChooseFolder(const FolderRequest& request)
{
    if (step_)
        return transcript_.ChooseFolder(request);
    QFileDialog dialog(anchor_.data(), Q(request.title), Q(request.folder));
    dialog.setObjectName(QStringLiteral("folderDialog"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    const std::string line = "folder dialog " + Quote(request.title);
    if (UsersAnswer(dialog) != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        host_.Log().Add(line + " -> cancel");
        return std::nullopt;
    }
    std::u16string folder = dialog.selectedFiles().front().toStdU16String();
    host_.Log().Add(line + " -> " + Quote(folder));
    return folder;
}

void QtBackend::SetScript(std::function<bool()> step, bool batch)
{
    step_ = std::move(step);
    batch_ = batch;
}

void QtBackend::EndScript()
{
    step_ = nullptr;
}

QPixmap QtBackend::Icon(std::int32_t resModule, std::int16_t resID)
{
    const auto key = std::make_pair(resModule, resID);
    if (const auto it = icons_.find(key); it != icons_.end())
        return it->second;
    QPixmap pixmap;
    if (const AddOn* owner = host_.ModuleOwner(resModule))
        if (const auto icon = owner->resources.icons.find(resID); icon != owner->resources.icons.end())
            // The reader has vouched for the header; pixels that still cannot be decoded fail the
            // run rather than leave an empty place without a word.
            if (!pixmap.load(QString::fromStdString(icon->second.file.string()), "PNG"))
                script_.Fail(icon->second.file.string() + ":1:1: icon " + std::to_string(resID) + " cannot be decoded");
    icons_[key] = pixmap;
    return pixmap;
}

void QtBackend::UserClick(std::int16_t dialogID, std::int16_t item)
{
    Dialog* dialog = Open(dialogID);
    if (!dialog)
        return;
    if (!scripted_)
        host_.Log().Add("> click " + std::to_string(item));
    std::string why;
    if (!host_.Dialogs().Click(*dialog, item, &why))
        Refused(why);
}

void QtBackend::UserSelect(std::int16_t dialogID, std::int16_t item, std::int16_t row)
{
    Dialog* dialog = Open(dialogID);
    if (!dialog)
        return;
    if (!scripted_)
        host_.Log().Add("> select " + std::to_string(item) + " " + std::to_string(row));
    std::string why;
    if (!host_.Dialogs().Select(*dialog, item, row, &why))
        Refused(why);
}

void QtBackend::UserType(std::int16_t dialogID, std::int16_t item, const std::u16string& text)
{
    Dialog* dialog = Open(dialogID);
    if (!dialog)
        return;
    if (!scripted_)
        host_.Log().Add("> type " + std::to_string(item) + " " + Quote(text));
    std::string why;
    if (!host_.Dialogs().TypeText(*dialog, item, text, &why))
        Refused(why);
}

void QtBackend::UserCloseBox(std::int16_t dialogID)
{
    Dialog* dialog = Open(dialogID);
    if (!dialog)
        return;
    if (!scripted_)
        host_.Log().Add("> close");
    host_.Dialogs().CloseBox(*dialog);
}

void QtBackend::Refused(const std::string& why)
{
    host_.Log().Add("refused: " + why);
}

} // namespace kfhost::qt
