// The dialog manager: dialogs as a model (items, texts, states, list rows, titles, sizes, the modal
// stack and modeless dialogs) that add-ons change through the host table, plus a backend that
// presents it: headless and scripted here, real windows elsewhere. Backends never call add-on
// code directly; user actions go through the manager (Click, Select, TypeText, CloseBox).
#pragma once

#include "kfhost/Resources.hpp"
#include "kfsdk/HostTable.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kfhost {

class AddOn;

// Messages sent to dialog callbacks.
enum : std::int16_t { MsgInit = 1, MsgClose = 3, MsgClick = 4, MsgChange = 5 };

struct ListRow {
    std::vector<std::u16string> texts{std::u16string()}; // [0] the row's text, then tab fields 1..n
    std::int16_t iconResID = 0;
    bool selected = false;
};

struct TabField {
    std::int16_t begPos = 0;
    std::int16_t endPos = 0;
    std::int16_t justification = 0;
    std::int16_t truncation = 0;
    bool separator = false;
    bool status = false;
};

struct DialogItem {
    std::int16_t number = 0;
    ItemKind kind = ItemKind::StaticText;
    Rect rect;
    std::u16string text;
    std::int16_t iconResID = 0;
    bool visible = true;
    bool enabled = true;
    bool checked = false;
    // list boxes
    std::vector<ListRow> rows;
    std::vector<TabField> tabs;
    std::int16_t rowHeight = 0;
    bool drawing = true;

    std::u16string RowText(std::int16_t row, std::int16_t tab) const;
    std::int16_t FirstSelected() const; // 1-based, 0 when none
};

struct Dialog {
    enum class State { Open, Closing, Closed };

    std::int16_t id = 0;
    std::int16_t resID = 0;
    std::int32_t resModule = 0;
    AddOn* owner = nullptr;
    bool modal = false;
    bool visible = false;
    State state = State::Open;
    std::u16string title;
    std::int16_t width = 0;
    std::int16_t height = 0;
    std::int16_t cancelItem = 0;
    std::int16_t focus = -1;
    std::int16_t closedWith = 0; // the item it closed with
    std::int16_t result = 0;     // the callback's answer to the close message
    std::int16_t refID = 0;
    std::int16_t clicking = 0; // the item whose click is being handled, 0 otherwise
    std::vector<DialogItem> items;

    KF_DialogProc proc = nullptr;
    void* cookie = nullptr;
    std::int64_t userData = 0;

    bool IsOpen() const { return state == State::Open; }
    DialogItem* Item(std::int16_t number);
    const DialogItem* Item(std::int16_t number) const;
    // The item the window's close box closes with: the declared cancel item, else -1.
    std::int16_t CloseBoxItem() const { return cancelItem > 0 ? cancelItem : std::int16_t(-1); }
};

struct AlertRequest {
    std::int16_t type = 0;
    std::u16string texts[6]; // title, large text, small text, buttons 1..3
};

struct FileRequest {
    std::int32_t type = 0;
    std::u16string title;
    std::u16string folder;
    std::vector<std::uint32_t> filters;
};

struct FileAnswer {
    std::u16string path;
    std::uint32_t filter = 0;
};

struct FolderRequest {
    std::u16string title;
    std::u16string folder;
};

class DialogBackend {
public:
    virtual ~DialogBackend() = default;
    // A dialog became visible: a modal one after its initialisation, a modeless one on each show.
    virtual void Shown(Dialog& dialog) = 0;
    // Presents the modal dialog and returns once it is no longer open.
    virtual void RunModal(Dialog& dialog) = 0;
    // The add-on changed what the dialog shows (texts, states, rows); a hint to redraw.
    virtual void Changed(Dialog& /*dialog*/) {}
    virtual void Closed(Dialog& dialog) = 0;
    // Answers the 1-based button chosen.
    virtual std::int16_t Alert(const AlertRequest& request) = 0;
    virtual std::optional<FileAnswer> ChooseFile(const FileRequest& request) = 0;
    virtual std::optional<std::u16string> ChooseFolder(const FolderRequest& request) = 0;
};

class DialogManager {
public:
    DialogManager();
    ~DialogManager();
    DialogManager(const DialogManager&) = delete;
    DialogManager& operator=(const DialogManager&) = delete;

    void SetBackend(DialogBackend* backend) { backend_ = backend; } // not owned
    DialogBackend& Backend() { return *backend_; }

    // Runs a modal dialog to its end; answers its result (0 when it cannot be created).
    std::int16_t Modal(AddOn& owner, std::int32_t resModule, const DialogTemplate& tmpl, KF_DialogProc proc,
                       void* cookie, std::int64_t userData);
    // Creates a hidden modeless dialog (initialised at once); answers its id, 0 on failure.
    std::int16_t ModelessInit(AddOn& owner, std::int32_t resModule, const DialogTemplate& tmpl, KF_DialogProc proc,
                              void* cookie, std::int64_t userData, std::int16_t refID);
    void ShowModeless(std::int16_t id);
    // Closes a dialog with item (the callback gets the close message first).
    void Close(std::int16_t id, std::int16_t item);
    void CloseAllOf(const AddOn& owner);

    Dialog* Find(std::int16_t id); // open dialogs only
    // The dialog the user works in: the top modal one, else the front visible modeless one.
    Dialog* Current();
    std::vector<Dialog*> OpenDialogs();
    int ModalDepth() const { return int(modalStack_.size()); }
    // Something about the dialog changed: tell the backend (cheap; it may coalesce).
    void Touch(Dialog& dialog);

    // User actions. On refusal they answer false and say why.
    bool Click(Dialog& dialog, std::int16_t item, std::string* why = nullptr);
    bool Select(Dialog& dialog, std::int16_t item, std::int16_t row, std::string* why = nullptr);
    bool TypeText(Dialog& dialog, std::int16_t item, const std::u16string& text, std::string* why = nullptr);
    void CloseBox(Dialog& dialog);

private:
    Dialog& Create(AddOn& owner, std::int32_t resModule, const DialogTemplate& tmpl, KF_DialogProc proc, void* cookie,
                   std::int64_t userData, bool modal);
    std::int16_t Send(Dialog& dialog, std::int16_t message, std::int16_t item, std::int64_t msgData = 0);
    void CloseWith(Dialog& dialog, std::int16_t item);
    void Purge();

    DialogBackend* backend_ = nullptr;
    std::vector<std::unique_ptr<Dialog>> dialogs_; // open and (until purged) closed ones
    std::vector<std::int16_t> modalStack_;
    std::vector<std::int16_t> zOrder_; // visible modeless, front last
    std::int16_t nextID_ = 1;
    int callDepth_ = 0;
};

} // namespace kfhost
