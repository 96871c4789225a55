#include "Monkey.hpp"

#include "kfhost/Text.hpp"

#include <algorithm>
#include <utility>

namespace kfhost::validate {

void Monkey::Shown(Dialog& dialog)
{
    ++shown_;
    if (!dialog.modal && std::find(modeless_.begin(), modeless_.end(), dialog.id) == modeless_.end())
        modeless_.push_back(dialog.id);
}

std::int16_t Monkey::Alert(const AlertRequest& alert)
{
    ++alerts_;
    lastAlert_ = ToUTF8(alert.texts[1]);
    return 1;
}

void Monkey::Act(Dialog& dialog, const DialogItem& item)
{
    DialogManager& dialogs = host_.Dialogs();
    switch (item.kind) {
    case ItemKind::Button:
    case ItemKind::CheckBox:
        dialogs.Click(dialog, item.number);
        break;
    case ItemKind::ListBox:
        if (!item.rows.empty())
            dialogs.Select(dialog, item.number, std::int16_t(1 + rng_() % item.rows.size()));
        break;
    case ItemKind::EditText:
        dialogs.TypeText(dialog, item.number, u"Prova 1,5 \"x\" ü");
        break;
    default:
        break;
    }
}

void Monkey::Drive(std::int16_t id)
{
    DialogManager& dialogs = host_.Dialogs();
    if (!passive_) {
        std::vector<std::int16_t> order;
        if (const Dialog* dialog = dialogs.Find(id))
            for (const DialogItem& item : dialog->items)
                order.push_back(item.number);
        std::shuffle(order.begin(), order.end(), rng_);
        for (const std::int16_t number : order) {
            Dialog* dialog = dialogs.Find(id);
            if (!dialog || budget_ <= 0)
                break;
            const DialogItem* item = dialog->Item(number);
            if (!item || !item->visible || !item->enabled)
                continue;
            --budget_;
            Act(*dialog, *item);
        }
    }
    // What is still open goes as its close box would close it; a callback that refuses that is
    // overruled, so that no call waits for ever on a dialog.
    if (Dialog* dialog = dialogs.Find(id))
        dialogs.CloseBox(*dialog);
    if (Dialog* dialog = dialogs.Find(id))
        dialogs.Close(id, dialog->CloseBoxItem());
}

void Monkey::DriveModeless()
{
    for (int round = 0; round < 8 && !modeless_.empty(); ++round) {
        const std::vector<std::int16_t> ids = std::exchange(modeless_, {});
        for (const std::int16_t id : ids)
            Drive(id);
    }
}

} // namespace kfhost::validate
