// Drives real widgets from the event loop: each step runs on a pass of whatever event loop is
// running, so steps act inside modal dialogs exactly as a person would, one after the other.
#pragma once

#include "kfhost/Host.hpp"
#include "kfhost/qt/DialogWindow.hpp"
#include "kfhost/qt/QtBackend.hpp"
#include "kfhost/qt/RowList.hpp"

#include <QAbstractButton>
#include <QLabel>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

// Readable test messages.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace kftest {

// A step answers false to be tried again on the next pass (waiting for something to appear).
using Step = std::function<bool()>;

// A step that always finishes.
inline Step Do(std::function<void()> fn)
{
    return [fn = std::move(fn)] {
        fn();
        return true;
    };
}

class Driver {
public:
    Driver(kfhost::Host& host, kfhost::qt::QtBackend& backend) : host_(host), backend_(backend) {}

    // Calls start (which may itself block in a modal dialog), runs the steps in order and returns
    // once all ran and no dialog is modal. After `seconds` it reports the step it was at and closes
    // what is still modal, so that a broken test fails instead of hanging.
    void Run(const std::function<void()>& start, std::vector<Step> steps, double seconds = 20);

    // The window of the dialog the user works in (the top modal one, else the front modeless one).
    kfhost::qt::DialogWindow* Top() const;
    // A step that waits until the dialog of resource resID is the one the user works in.
    Step Shows(std::int16_t resID) const
    {
        return [this, resID] { return Top() && Top()->ResID() == resID && Top()->isVisible(); };
    }
    kfhost::qt::DialogWindow* WindowOf(std::int16_t resID) const;
    QWidget* Item(std::int16_t item) const;
    QString Text(std::int16_t item) const; // of a label or button of Top()
    kfhost::qt::RowList* List(std::int16_t item) const;

    // A mouse click in the middle of a button of Top().
    void Click(std::int16_t item) const;
    // A mouse click on a row (1-based) of a list of Top().
    void SelectRow(std::int16_t item, int row) const;
    // The button of the top message box or file dialog whose text is text; null when none.
    static QAbstractButton* ModalButton(const QString& text);

private:
    kfhost::Host& host_;
    kfhost::qt::QtBackend& backend_;
};

// Whether the transcript has this line.
bool Logged(kfhost::Host& host, const std::string& line);

} // namespace kftest
