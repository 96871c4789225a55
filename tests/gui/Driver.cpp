#include "Driver.hpp"

#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

namespace kftest {

void Driver::Run(const std::function<void()>& start, std::vector<Step> steps, double seconds)
{
    std::deque<Step> pending(steps.begin(), steps.end());
    const std::size_t total = pending.size();
    bool expired = false;
    QDeadlineTimer deadline(qint64(seconds * 1000));
    QEventLoop done;
    bool finished = false;
    std::function<void()> pass;
    pass = [&] {
        if (finished)
            return;
        // The next pass is booked first: this one may block in a modal dialog, and a timer is
        // never delivered again while its own delivery is still running.
        QTimer::singleShot(5, &done, pass);
        if (!expired && deadline.hasExpired()) {
            expired = true;
            std::string tail;
            const auto& lines = host_.Log().Lines();
            for (std::size_t i = lines.size() > 12 ? lines.size() - 12 : 0; i < lines.size(); ++i)
                tail += "\n  " + lines[i];
            QWidget* modal = QApplication::activeModalWidget();
            ADD_FAILURE() << "gave up at step " << (total - pending.size() + 1) << " of " << total
                          << "; modal window: " << (modal ? modal->metaObject()->className() : "none")
                          << "; transcript ends:" << tail;
            pending.clear();
        }
        if (expired) {
            // Close what waits, innermost first, so that every loop unwinds.
            if (QWidget* modal = QApplication::activeModalWidget();
                modal && !dynamic_cast<kfhost::qt::DialogWindow*>(modal))
                modal->close();
            else if (kfhost::Dialog* dialog = host_.Dialogs().Current(); dialog && host_.Dialogs().ModalDepth() > 0)
                host_.Dialogs().CloseBox(*dialog);
        }
        if (!pending.empty()) {
            Step step = std::move(pending.front());
            pending.pop_front();
            // The step may block in a modal dialog: later steps then run inside it.
            if (!step())
                pending.push_front(std::move(step));
        } else if (host_.Dialogs().ModalDepth() == 0 && !QApplication::activeModalWidget()) {
            finished = true;
            done.quit();
        }
    };
    QTimer::singleShot(0, &done, pass);
    start();
    if (!finished)
        done.exec();
    finished = true;
    backend_.Flush();
}

kfhost::qt::DialogWindow* Driver::Top() const
{
    kfhost::Dialog* dialog = host_.Dialogs().Current();
    return dialog ? backend_.Window(dialog->id) : nullptr;
}

kfhost::qt::DialogWindow* Driver::WindowOf(std::int16_t resID) const
{
    for (kfhost::qt::DialogWindow* window : backend_.Windows())
        if (window->ResID() == resID)
            return window;
    return nullptr;
}

QWidget* Driver::Item(std::int16_t item) const
{
    kfhost::qt::DialogWindow* top = Top();
    return top ? top->ItemWidget(item) : nullptr;
}

QString Driver::Text(std::int16_t item) const
{
    QWidget* widget = Item(item);
    if (auto* label = qobject_cast<QLabel*>(widget))
        return label->text();
    if (auto* button = qobject_cast<QAbstractButton*>(widget))
        return button->text();
    return QStringLiteral("<no text item %1>").arg(item);
}

kfhost::qt::RowList* Driver::List(std::int16_t item) const
{
    kfhost::qt::DialogWindow* top = Top();
    return top ? top->List(item) : nullptr;
}

void Driver::Click(std::int16_t item) const
{
    QWidget* widget = Item(item);
    ASSERT_NE(widget, nullptr) << "no item " << item;
    QTest::mouseClick(widget, Qt::LeftButton);
}

void Driver::SelectRow(std::int16_t item, int row) const
{
    kfhost::qt::RowList* list = List(item);
    ASSERT_NE(list, nullptr) << "no list " << item;
    ASSERT_GE(row, 1);
    ASSERT_LE(row, list->count());
    const QRect rect = list->visualItemRect(list->item(row - 1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
}

QAbstractButton* Driver::ModalButton(const QString& text)
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal)
        return nullptr;
    for (QAbstractButton* button : modal->findChildren<QAbstractButton*>())
        if (button->text() == text && button->isVisible())
            return button;
    return nullptr;
}

bool Logged(kfhost::Host& host, const std::string& line)
{
    const auto& lines = host.Log().Lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

} // namespace kftest
