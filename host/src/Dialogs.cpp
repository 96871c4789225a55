#include "kfhost/Dialogs.hpp"

#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"

#include <algorithm>

namespace kfhost {

std::u16string DialogItem::RowText(std::int16_t row, std::int16_t tab) const
{
    if (row < 1 || row > std::int16_t(rows.size()) || tab < 0)
        return {};
    const auto& texts = rows[std::size_t(row - 1)].texts;
    return std::size_t(tab) < texts.size() ? texts[std::size_t(tab)] : std::u16string();
}

std::int16_t DialogItem::FirstSelected() const
{
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i].selected)
            return std::int16_t(i + 1);
    return 0;
}

DialogItem* Dialog::Item(std::int16_t number)
{
    return number >= 1 && number <= std::int16_t(items.size()) ? &items[std::size_t(number - 1)] : nullptr;
}

const DialogItem* Dialog::Item(std::int16_t number) const
{
    return number >= 1 && number <= std::int16_t(items.size()) ? &items[std::size_t(number - 1)] : nullptr;
}

DialogManager::DialogManager() = default;
DialogManager::~DialogManager() = default;

Dialog& DialogManager::Create(AddOn& owner, std::int32_t resModule, const DialogTemplate& tmpl, KF_DialogProc proc,
                              void* cookie, std::int64_t userData, bool modal)
{
    auto dialog = std::make_unique<Dialog>();
    // Ids stay small and unique among open dialogs, as the 16-bit interface needs.
    for (int tries = 0; tries < 32767; ++tries) {
        const std::int16_t id = nextID_;
        nextID_ = nextID_ >= 32767 ? std::int16_t(1) : std::int16_t(nextID_ + 1);
        if (!Find(id)) {
            dialog->id = id;
            break;
        }
    }
    dialog->resID = tmpl.resID;
    dialog->resModule = resModule;
    dialog->owner = &owner;
    dialog->modal = modal;
    dialog->title = tmpl.title;
    dialog->width = tmpl.width;
    dialog->height = tmpl.height;
    dialog->cancelItem = tmpl.cancelItem;
    dialog->proc = proc;
    dialog->cookie = cookie;
    dialog->userData = userData;
    for (const ItemTemplate& t : tmpl.items) {
        DialogItem item;
        item.number = t.number;
        item.kind = t.kind;
        item.rect = t.rect;
        item.text = t.text;
        item.iconResID = t.iconResID;
        item.visible = !t.hidden;
        item.enabled = !t.disabled;
        item.checked = t.checked;
        dialog->items.push_back(std::move(item));
    }
    dialogs_.push_back(std::move(dialog));
    return *dialogs_.back();
}

std::int16_t DialogManager::Send(Dialog& dialog, std::int16_t message, std::int16_t item, std::int64_t msgData)
{
    if (!dialog.proc)
        return message == MsgClose ? item : std::int16_t(0);
    ++callDepth_;
    const std::int16_t answer =
        dialog.owner
            ? CallAddOn(*dialog.owner, *dialog.owner->host, "dialog handler " + std::to_string(dialog.resID),
                        std::int16_t(0),
                        [&] { return dialog.proc(dialog.cookie, message, dialog.id, item, dialog.userData, msgData); })
            : dialog.proc(dialog.cookie, message, dialog.id, item, dialog.userData, msgData);
    --callDepth_;
    return answer;
}

std::int16_t DialogManager::Modal(AddOn& owner, std::int32_t resModule, const DialogTemplate& tmpl, KF_DialogProc proc,
                                  void* cookie, std::int64_t userData)
{
    Dialog& dialog = Create(owner, resModule, tmpl, proc, cookie, userData, true);
    const std::int16_t id = dialog.id;
    modalStack_.push_back(id);
    Send(dialog, MsgInit, 0);
    if (dialog.IsOpen()) {
        dialog.visible = true;
        backend_->Shown(dialog);
        backend_->RunModal(dialog);
        if (dialog.IsOpen()) // a backend that gave up: never leave a modal dialog behind
            CloseWith(dialog, dialog.CloseBoxItem());
    }
    modalStack_.erase(std::remove(modalStack_.begin(), modalStack_.end(), id), modalStack_.end());
    const std::int16_t result = dialog.result;
    Purge();
    return result;
}

std::int16_t DialogManager::ModelessInit(AddOn& owner, std::int32_t resModule, const DialogTemplate& tmpl,
                                         KF_DialogProc proc, void* cookie, std::int64_t userData, std::int16_t refID)
{
    Dialog& dialog = Create(owner, resModule, tmpl, proc, cookie, userData, false);
    dialog.refID = refID;
    const std::int16_t id = dialog.id;
    Send(dialog, MsgInit, 0);
    const bool open = dialog.IsOpen();
    Purge();
    return open ? id : std::int16_t(0);
}

void DialogManager::ShowModeless(std::int16_t id)
{
    Dialog* dialog = Find(id);
    if (!dialog || dialog->modal)
        return;
    dialog->visible = true;
    zOrder_.erase(std::remove(zOrder_.begin(), zOrder_.end(), id), zOrder_.end());
    zOrder_.push_back(id);
    backend_->Shown(*dialog);
}

void DialogManager::CloseWith(Dialog& dialog, std::int16_t item)
{
    if (!dialog.IsOpen())
        return;
    dialog.state = Dialog::State::Closing;
    dialog.closedWith = item;
    dialog.result = Send(dialog, MsgClose, item);
    dialog.state = Dialog::State::Closed;
    const bool wasVisible = dialog.visible;
    dialog.visible = false;
    zOrder_.erase(std::remove(zOrder_.begin(), zOrder_.end(), dialog.id), zOrder_.end());
    if (wasVisible)
        backend_->Closed(dialog);
}

void DialogManager::Close(std::int16_t id, std::int16_t item)
{
    if (Dialog* dialog = Find(id)) {
        CloseWith(*dialog, item);
        Purge();
    }
}

void DialogManager::CloseAllOf(const AddOn& owner)
{
    for (Dialog* dialog : OpenDialogs())
        if (dialog->owner == &owner && !dialog->modal)
            CloseWith(*dialog, dialog->CloseBoxItem());
    Purge();
}

void DialogManager::Purge()
{
    if (callDepth_ > 0)
        return; // a callback further up may still hold a closed dialog
    std::erase_if(dialogs_, [this](const std::unique_ptr<Dialog>& d) {
        return d->state == Dialog::State::Closed &&
               std::find(modalStack_.begin(), modalStack_.end(), d->id) == modalStack_.end();
    });
}

Dialog* DialogManager::Find(std::int16_t id)
{
    for (auto& d : dialogs_)
        if (d->id == id && d->state != Dialog::State::Closed)
            return d.get();
    return nullptr;
}

Dialog* DialogManager::Current()
{
    for (auto it = modalStack_.rbegin(); it != modalStack_.rend(); ++it)
        if (Dialog* d = Find(*it); d && d->IsOpen())
            return d;
    for (auto it = zOrder_.rbegin(); it != zOrder_.rend(); ++it)
        if (Dialog* d = Find(*it); d && d->IsOpen() && d->visible)
            return d;
    return nullptr;
}

std::vector<Dialog*> DialogManager::OpenDialogs()
{
    std::vector<Dialog*> open;
    for (auto& d : dialogs_)
        if (d->IsOpen())
            open.push_back(d.get());
    return open;
}

void DialogManager::Touch(Dialog& dialog)
{
    if (dialog.visible)
        backend_->Changed(dialog);
}

namespace {

bool Refuse(std::string* why, std::string text)
{
    if (why)
        *why = std::move(text);
    return false;
}

} // namespace

bool DialogManager::Click(Dialog& dialog, std::int16_t item, std::string* why)
{
    if (!dialog.IsOpen())
        return Refuse(why, "the dialog is closed");
    DialogItem* it = dialog.Item(item);
    if (!it)
        return Refuse(why, "dialog " + std::to_string(dialog.resID) + " has no item " + std::to_string(item));
    if (!it->visible)
        return Refuse(why, "item " + std::to_string(item) + " is hidden");
    if (!it->enabled)
        return Refuse(why, "item " + std::to_string(item) + " is disabled");
    if (it->kind == ItemKind::CheckBox)
        it->checked = !it->checked;
    const std::int16_t outer = dialog.clicking;
    dialog.clicking = item;
    const std::int16_t answer = Send(dialog, MsgClick, item);
    dialog.clicking = outer;
    if (answer != 0 && dialog.IsOpen())
        CloseWith(dialog, answer);
    Purge();
    return true;
}

bool DialogManager::Select(Dialog& dialog, std::int16_t item, std::int16_t row, std::string* why)
{
    if (!dialog.IsOpen())
        return Refuse(why, "the dialog is closed");
    DialogItem* it = dialog.Item(item);
    if (!it || it->kind != ItemKind::ListBox)
        return Refuse(why, "item " + std::to_string(item) + " is not a list box");
    if (!it->visible || !it->enabled)
        return Refuse(why, "list " + std::to_string(item) + (it->visible ? " is disabled" : " is hidden"));
    if (row < 1 || row > std::int16_t(it->rows.size()))
        return Refuse(why, "list " + std::to_string(item) + " has " + std::to_string(it->rows.size()) +
                               " rows, no row " + std::to_string(row));
    for (auto& r : it->rows)
        r.selected = false;
    it->rows[std::size_t(row - 1)].selected = true;
    Send(dialog, MsgChange, item);
    Purge();
    return true;
}

bool DialogManager::TypeText(Dialog& dialog, std::int16_t item, const std::u16string& text, std::string* why)
{
    if (!dialog.IsOpen())
        return Refuse(why, "the dialog is closed");
    DialogItem* it = dialog.Item(item);
    if (!it || it->kind != ItemKind::EditText)
        return Refuse(why, "item " + std::to_string(item) + " is not an edit text");
    if (!it->visible || !it->enabled)
        return Refuse(why, "item " + std::to_string(item) + (it->visible ? " is disabled" : " is hidden"));
    it->text = text;
    Send(dialog, MsgChange, item);
    Purge();
    return true;
}

void DialogManager::CloseBox(Dialog& dialog)
{
    CloseWith(dialog, dialog.CloseBoxItem());
    Purge();
}

} // namespace kfhost
