#include "kfhost/qt/DialogWindow.hpp"

#include "kfhost/script/Headless.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/qt/QtBackend.hpp"
#include "kfhost/qt/RowList.hpp"

#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace kfhost::qt {
namespace {

QString Q(const std::u16string& text)
{
    return QString::fromStdU16String(text);
}

// Buttons take "&" as a mnemonic mark; the dialog manager's texts mean the character.
QString ButtonText(const std::u16string& text)
{
    return Q(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

std::string Signature(const Dialog& dialog)
{
    std::string text = std::to_string(dialog.width) + "x" + std::to_string(dialog.height) + "\n";
    for (const auto& line : DescribeDialog(dialog))
        text += line + "\n";
    return text;
}

} // namespace

DialogWindow::DialogWindow(QtBackend& backend, const Dialog& dialog, QWidget* parent)
    : QDialog(parent), backend_(backend), dialogID_(dialog.id), resID_(dialog.resID), resModule_(dialog.resModule)
{
    setObjectName(QStringLiteral("dialog%1").arg(dialog.resID));
    setAttribute(Qt::WA_DeleteOnClose, false);
    setSizeGripEnabled(false);
    if (dialog.modal)
        setWindowModality(Qt::ApplicationModal);
    Build(dialog);
    Sync(dialog);
}

void DialogWindow::Build(const Dialog& dialog)
{
    for (const DialogItem& item : dialog.items) {
        QWidget* widget = nullptr;
        const std::int16_t number = item.number;
        switch (item.kind) {
        case ItemKind::Button: {
            auto* button = new QPushButton(this);
            button->setAutoDefault(false);
            connect(button, &QPushButton::clicked, [this, number] { backend_.UserClick(dialogID_, number); });
            widget = button;
            break;
        }
        case ItemKind::CheckBox: {
            auto* box = new QCheckBox(this);
            connect(box, &QCheckBox::clicked, [this, number] { backend_.UserClick(dialogID_, number); });
            widget = box;
            break;
        }
        case ItemKind::EditText: {
            auto* edit = new QLineEdit(this);
            connect(edit, &QLineEdit::textEdited, [this, number](const QString& text) {
                backend_.UserType(dialogID_, number, text.toStdU16String());
            });
            widget = edit;
            break;
        }
        case ItemKind::ListBox: {
            auto* list = new RowList(this);
            list->onSelect = [this, number](std::int16_t row) { backend_.UserSelect(dialogID_, number, row); };
            widget = list;
            break;
        }
        case ItemKind::Icon: {
            auto* label = new QLabel(this);
            label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
            widget = label;
            break;
        }
        case ItemKind::StaticText: {
            auto* label = new QLabel(this);
            label->setTextFormat(Qt::PlainText);
            label->setWordWrap(true);
            label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
            widget = label;
            break;
        }
        }
        widget->setObjectName(QStringLiteral("item%1").arg(number));
        widget->setGeometry(item.rect.left, item.rect.top, item.rect.width, item.rect.height);
        items_.push_back(widget);
    }
}

void DialogWindow::Sync(const Dialog& dialog)
{
    setWindowTitle(Q(dialog.title));
    if (size() != QSize(dialog.width, dialog.height) && dialog.width > 0 && dialog.height > 0)
        setFixedSize(dialog.width, dialog.height);
    for (std::size_t i = 0; i < dialog.items.size() && i < items_.size(); ++i) {
        const DialogItem& item = dialog.items[i];
        QWidget* widget = items_[i];
        switch (item.kind) {
        case ItemKind::Button:
            static_cast<QPushButton*>(widget)->setText(ButtonText(item.text));
            break;
        case ItemKind::CheckBox: {
            auto* box = static_cast<QCheckBox*>(widget);
            box->setText(ButtonText(item.text));
            box->setChecked(item.checked);
            break;
        }
        case ItemKind::EditText: {
            auto* edit = static_cast<QLineEdit*>(widget);
            if (edit->text() != Q(item.text))
                edit->setText(Q(item.text));
            break;
        }
        case ItemKind::ListBox:
            // A list whose drawing is stopped keeps what it showed until drawing resumes.
            if (item.drawing)
                static_cast<RowList*>(widget)->SetRows(item.rows, item.tabs, item.rowHeight, [this](std::int16_t id) {
                    return backend_.Icon(resModule_, id);
                });
            break;
        case ItemKind::Icon: {
            auto* label = static_cast<QLabel*>(widget);
            if (!item.text.empty()) {
                label->setText(Q(item.text));
            } else {
                const QPixmap pixmap = backend_.Icon(resModule_, item.iconResID);
                label->setPixmap(pixmap);
            }
            break;
        }
        case ItemKind::StaticText:
            static_cast<QLabel*>(widget)->setText(Q(item.text));
            break;
        }
        widget->setVisible(item.visible);
        widget->setEnabled(item.enabled);
    }
    // Focus moves only when the add-on moves it, never under the user's typing.
    if (dialog.focus != appliedFocus_) {
        appliedFocus_ = dialog.focus;
        if (QWidget* widget = ItemWidget(dialog.focus); widget && widget->isVisibleTo(this))
            widget->setFocus();
        else if (QWidget* focused = focusWidget())
            focused->clearFocus();
    }
    signature_ = kfhost::qt::Signature(dialog);
}

std::string DialogWindow::Disagreement(const Dialog& dialog) const
{
    const std::string at = "dialog " + std::to_string(dialog.resID) + " ";
    if (windowTitle() != Q(dialog.title))
        return at + "shows the title " + Quote(windowTitle().toStdU16String());
    if (size() != QSize(dialog.width, dialog.height))
        return at + "is " + std::to_string(width()) + " by " + std::to_string(height());
    for (std::size_t i = 0; i < dialog.items.size() && i < items_.size(); ++i) {
        const DialogItem& item = dialog.items[i];
        const QWidget* widget = items_[i];
        const std::string which = at + "item " + std::to_string(item.number) + " ";
        if (widget->isVisibleTo(this) != item.visible)
            return which + (item.visible ? "is hidden" : "is visible");
        if (widget->isEnabled() != item.enabled)
            return which + (item.enabled ? "is disabled" : "is enabled");
        QString shown;
        bool compareText = true;
        switch (item.kind) {
        case ItemKind::Button:
            shown = static_cast<const QPushButton*>(widget)->text().replace(QLatin1String("&&"), QLatin1String("&"));
            break;
        case ItemKind::CheckBox: {
            const auto* box = static_cast<const QCheckBox*>(widget);
            shown = box->text().replace(QLatin1String("&&"), QLatin1String("&"));
            if (box->isChecked() != item.checked)
                return which + (item.checked ? "is unchecked" : "is checked");
            break;
        }
        case ItemKind::EditText:
            shown = static_cast<const QLineEdit*>(widget)->text();
            break;
        case ItemKind::StaticText:
            shown = static_cast<const QLabel*>(widget)->text();
            break;
        case ItemKind::Icon:
            compareText = !item.text.empty();
            shown = static_cast<const QLabel*>(widget)->text();
            break;
        case ItemKind::ListBox: {
            compareText = false;
            if (!item.drawing)
                break;
            const auto* list = static_cast<const RowList*>(widget);
            if (list->count() != int(item.rows.size()))
                return which + "shows " + std::to_string(list->count()) + " rows";
            for (std::size_t r = 0; r < item.rows.size(); ++r) {
                QStringList expected;
                for (const auto& t : item.rows[r].texts)
                    expected << Q(t);
                if (list->RowTexts(int(r)) != expected)
                    return which + "row " + std::to_string(r + 1) + " shows other texts";
                if (list->item(int(r))->data(RowList::IconIDRole).toInt() != item.rows[r].iconResID)
                    return which + "row " + std::to_string(r + 1) + " shows another icon";
            }
            if (list->SelectedRow() != item.FirstSelected())
                return which + "has row " + std::to_string(list->SelectedRow()) + " selected";
            break;
        }
        }
        if (compareText && shown != Q(item.text))
            return which + "shows " + Quote(shown.toStdU16String());
    }
    return {};
}

QWidget* DialogWindow::ItemWidget(std::int16_t item) const
{
    return item >= 1 && item <= std::int16_t(items_.size()) ? items_[std::size_t(item - 1)] : nullptr;
}

RowList* DialogWindow::List(std::int16_t item) const
{
    return dynamic_cast<RowList*>(ItemWidget(item));
}

void DialogWindow::closeEvent(QCloseEvent* event)
{
    // The window goes when the model closes the dialog; the close box only asks.
    event->ignore();
    backend_.UserCloseBox(dialogID_);
}

void DialogWindow::reject()
{
    backend_.UserCloseBox(dialogID_);
}

} // namespace kfhost::qt
