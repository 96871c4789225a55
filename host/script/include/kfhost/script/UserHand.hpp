// The hand that carries out a script's user actions on the current dialog. Headless it is the
// dialog manager's own; with windows it works the widgets (host/qt), so one parsed line runs on
// either and only the executor differs.
#pragma once

#include "kfhost/Dialogs.hpp"

#include <cstdint>
#include <string>

namespace kfhost {

class UserHand {
public:
    explicit UserHand(DialogManager& dialogs) : dialogs_(dialogs) {}
    virtual ~UserHand() = default;
    UserHand(const UserHand&) = delete;
    UserHand& operator=(const UserHand&) = delete;

    // Each answers false, and why, when the dialog manager refuses the action.
    virtual bool Click(Dialog& dialog, std::int16_t item, std::string* why)
    {
        return dialogs_.Click(dialog, item, why);
    }
    virtual bool Select(Dialog& dialog, std::int16_t item, std::int16_t row, std::string* why)
    {
        return dialogs_.Select(dialog, item, row, why);
    }
    virtual bool Type(Dialog& dialog, std::int16_t item, const std::u16string& text, std::string* why)
    {
        return dialogs_.TypeText(dialog, item, text, why);
    }
    // The window's close box.
    virtual void CloseBox(Dialog& dialog) { dialogs_.CloseBox(dialog); }

protected:
    DialogManager& dialogs_;
};

} // namespace kfhost
