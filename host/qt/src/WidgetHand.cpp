#include "kfhost/qt/WidgetHand.hpp"

#include "kfhost/Host.hpp"
#include "kfhost/qt/DialogWindow.hpp"
#include "kfhost/qt/QtBackend.hpp"
#include "kfhost/qt/RowList.hpp"

#include <QAbstractButton>
#include <QLineEdit>

namespace kfhost::qt {
namespace {

// The runner has logged the line; the backend must not log the action again.
class Scripted {
public:
    explicit Scripted(QtBackend& backend) : backend_(backend), outer_(backend.IsScripted())
    {
        backend_.SetScripted(true);
    }
    ~Scripted() { backend_.SetScripted(outer_); }
    Scripted(const Scripted&) = delete;
    Scripted& operator=(const Scripted&) = delete;

private:
    QtBackend& backend_;
    bool outer_;
};

} // namespace

QWidget* WidgetHand::Usable(const Dialog& dialog, std::int16_t item) const
{
    DialogWindow* window = backend_.Window(dialog.id);
    const DialogItem* model = dialog.Item(item);
    if (!window || !model || !model->visible || !model->enabled)
        return nullptr;
    QWidget* widget = window->ItemWidget(item);
    // A widget that differs from its model has been reported by CheckWindows already.
    return widget && widget->isVisibleTo(window) && widget->isEnabled() ? widget : nullptr;
}

bool WidgetHand::Click(Dialog& dialog, std::int16_t item, std::string* why)
{
    // Texts and icons take clicks only from the dialog manager.
    auto* button = qobject_cast<QAbstractButton*>(Usable(dialog, item));
    if (!button)
        return UserHand::Click(dialog, item, why);
    const Scripted scripted(backend_);
    button->click();
    return true;
}

bool WidgetHand::Select(Dialog& dialog, std::int16_t item, std::int16_t row, std::string* why)
{
    const DialogItem* model = dialog.Item(item);
    QWidget* widget = Usable(dialog, item);
    auto* list = widget ? dynamic_cast<RowList*>(widget) : nullptr;
    if (!list || row < 1 || row > list->count() || std::size_t(row) > model->rows.size())
        return UserHand::Select(dialog, item, row, why);
    const Scripted scripted(backend_);
    if (list->SelectedRow() == row)
        backend_.UserSelect(dialog.id, item, row); // choosing the chosen row again still tells the add-on
    else
        list->setCurrentRow(row - 1);
    return true;
}

bool WidgetHand::Type(Dialog& dialog, std::int16_t item, const std::u16string& text, std::string* why)
{
    auto* edit = qobject_cast<QLineEdit*>(Usable(dialog, item));
    if (!edit)
        return UserHand::Type(dialog, item, text, why);
    const Scripted scripted(backend_);
    edit->setText(QString::fromStdU16String(text));
    backend_.UserType(dialog.id, item, text);
    return true;
}

void WidgetHand::CloseBox(Dialog& dialog)
{
    DialogWindow* window = backend_.Window(dialog.id);
    if (!window)
        return UserHand::CloseBox(dialog);
    const Scripted scripted(backend_);
    window->close();
}

void WidgetHand::CheckWindows()
{
    for (DialogWindow* window : backend_.Windows()) {
        const Dialog* dialog = dialogs_.Find(window->DialogID());
        if (!dialog || !dialog->IsOpen())
            continue;
        if (const std::string difference = window->Disagreement(*dialog); !difference.empty())
            backend_.Script().Fail("the window disagrees with the dialog: " + difference);
    }
}

} // namespace kfhost::qt
