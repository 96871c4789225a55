// The script's user actions carried out on the real widgets: a click on the button, a row chosen
// in the list, text typed into the edit field, the window's close box. The script runner parses
// each line as it does headless; only this executor differs. Where the widget cannot take the
// action (hidden, disabled, not there), the dialog manager does it and words the refusal.
#pragma once

#include "kfhost/script/UserHand.hpp"

class QWidget;

namespace kfhost::qt {

class QtBackend;

class WidgetHand final : public UserHand {
public:
    WidgetHand(DialogManager& dialogs, QtBackend& backend) : UserHand(dialogs), backend_(backend) {}

    bool Click(Dialog& dialog, std::int16_t item, std::string* why) override;
    bool Select(Dialog& dialog, std::int16_t item, std::int16_t row, std::string* why) override;
    bool Type(Dialog& dialog, std::int16_t item, const std::u16string& text, std::string* why) override;
    void CloseBox(Dialog& dialog) override;

    // After each line: every open window must show what the model holds; a difference is a
    // failure of the line.
    void CheckWindows();

private:
    // The widget of an item that a user could work now, null when none.
    QWidget* Usable(const Dialog& dialog, std::int16_t item) const;

    QtBackend& backend_;
};

} // namespace kfhost::qt
