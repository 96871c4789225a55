// The Qt dialog backend: every dialog of the model as a window of real widgets. User actions on the
// widgets go to the dialog manager exactly as the headless script's do; changes the add-on makes
// are applied to the widgets once its code has returned to the event loop, so a move-and-grow
// block (or any run of calls) shows as one change.
#pragma once

#include "kfhost/Dialogs.hpp"
#include "kfhost/script/Headless.hpp"
#include "kfhost/script/Runner.hpp"

#include <QObject>
#include <QPixmap>
#include <QPointer>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QEventLoop;
class QWidget;

namespace kfhost {
class Host;
}

namespace kfhost::qt {

class DialogWindow;
class Screenshots;

class QtBackend final : public DialogBackend {
public:
    QtBackend(Host& host, ScriptRunner& script);
    ~QtBackend() override;
    QtBackend(const QtBackend&) = delete;
    QtBackend& operator=(const QtBackend&) = delete;

    void Shown(Dialog& dialog) override;
    void RunModal(Dialog& dialog) override;
    void Changed(Dialog& dialog) override;
    void Closed(Dialog& dialog) override;
    std::int16_t Alert(const AlertRequest& request) override;
    std::optional<FileAnswer> ChooseFile(const FileRequest& request) override;
    std::optional<std::u16string> ChooseFolder(const FolderRequest& request) override;

    Host& GetHost() { return host_; }
    ScriptRunner& Script() { return script_; }

    // The window of an open dialog, null when it has none (yet).
    DialogWindow* Window(std::int16_t dialogID) const;
    // Every dialog window, in the order they were opened.
    std::vector<DialogWindow*> Windows() const;
    // Applies the add-on's pending changes to the widgets now.
    void Flush();

    // While a script plays, modal dialogs take their actions from it and system dialogs their
    // answers; with batch set an exhausted script closes what waits (as headless), otherwise the
    // user takes over.
    void SetScript(std::function<bool()> step, bool batch);
    void EndScript();
    // Set while the script player works a widget: the player has logged the line itself.
    void SetScripted(bool scripted) { scripted_ = scripted; }
    bool IsScripted() const { return scripted_; }
    // Pictures of alerts as they come (dialogs are taken by the script player).
    void SetScreenshots(Screenshots* screenshots) { screenshots_ = screenshots; }
    // Windows open over (modal) or beside (modeless) this one.
    void SetAnchor(QWidget* window) { anchor_ = window; }
    // Told of every window opened or closed (the main window's status).
    void SetOnWindowsChanged(std::function<void()> fn) { onWindowsChanged_ = std::move(fn); }

    // An icon resource of the module a dialog comes from; a null pixmap when there is none.
    QPixmap Icon(std::int32_t resModule, std::int16_t resID);

    // User actions from the widgets (and the script player). Refusals are logged.
    void UserClick(std::int16_t dialogID, std::int16_t item);
    void UserSelect(std::int16_t dialogID, std::int16_t item, std::int16_t row);
    void UserType(std::int16_t dialogID, std::int16_t item, const std::u16string& text);
    void UserCloseBox(std::int16_t dialogID);

private:
    Dialog* Open(std::int16_t dialogID);
    DialogWindow& WindowFor(Dialog& dialog);
    void Place(DialogWindow& window, const Dialog& dialog);
    void Refused(const std::string& why);

    Host& host_;
    ScriptRunner& script_;
    HeadlessBackend transcript_; // the transcript's lines, and answers while a script plays
    bool scripted_ = false;
    QObject context_; // owner of the queued flushes
    std::map<std::int16_t, QPointer<DialogWindow>> windows_;
    std::vector<std::int16_t> order_;
    std::set<std::int16_t> dirty_;
    bool flushQueued_ = false;
    std::map<std::int16_t, QEventLoop*> modalLoops_;
    std::map<std::pair<std::int32_t, std::int16_t>, QPixmap> icons_;
    std::function<bool()> step_;
    bool batch_ = false;
    int forcedCloses_ = 0;
    Screenshots* screenshots_ = nullptr;
    QPointer<QWidget> anchor_;
    std::function<void()> onWindowsChanged_;
    int modelessPlaced_ = 0;
};

} // namespace kfhost::qt
