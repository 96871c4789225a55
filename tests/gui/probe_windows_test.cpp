// The host's probe add-on in real windows: its menu in the menu bar, its modal dialog (list with tab
// fields and icons, live hide/show and enable/disable, a nested modal dialog, the close box), its
// modeless window, alerts, the file dialog and a timer on Qt's loop, worked by mouse and keys.
#include "WindowedHost.hpp"
#include "kftest/Files.hpp"

#include "kfhost/qt/Gui.hpp"
#include "kfhost/qt/MainWindow.hpp"
#include "kfhost/qt/QtRunLoop.hpp"
#include "kfhost/qt/WidgetHand.hpp"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace {

using kftest::Do;
using kftest::Logged;

// Made before the host, whose framework folder it holds.
struct ProbeFolder {
    kftest::TempFolder temp;
};

class ProbeWindows : public ::testing::Test, protected ProbeFolder, protected kftest::WindowedHost {
protected:
    ProbeWindows() : WindowedHost(kftest::InFolder(temp.Path()), KF_GUI_PROBE_BUNDLE) {}

    void SetUp() override { ASSERT_TRUE(loaded.Loaded()) << loaded.reason; }
};

TEST_F(ProbeWindows, MenuBarShowsTheRegisteredMenuWithItemFlagsAndReloadRebuildsIt)
{
    QMenu* menu = session.Window().Menu(32500);
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->title(), "Probe");
    ASSERT_EQ(menu->actions().size(), 11);
    EXPECT_EQ(menu->actions()[0]->text(), "Modal dialog");
    EXPECT_TRUE(menu->actions()[0]->isEnabled());
    EXPECT_FALSE(menu->actions()[10]->isEnabled()) << "declared disabled";
    EXPECT_EQ(session.Window().Menu(32501), nullptr) << "a handler alone is no menu";

    // Flags the add-on sets later show the next time the menu opens.
    host.FindMenu(32500)->items[1].flags = 2;
    host.FindMenu(32500)->items[0].flags = 1;
    emit menu->aboutToShow();
    EXPECT_TRUE(menu->actions()[1]->isCheckable());
    EXPECT_TRUE(menu->actions()[1]->isChecked());
    EXPECT_FALSE(menu->actions()[0]->isEnabled());

    EXPECT_TRUE(session.Window().LogView().toPlainText().contains("loaded \"Probe A\""));

    // The Host menu's reload loads the bundle again and rebuilds its menu.
    QMenu* hostMenu = session.Window().menuBar()->findChild<QMenu*>("hostMenu");
    ASSERT_NE(hostMenu, nullptr);
    emit hostMenu->aboutToShow();
    QAction* reload = hostMenu->findChild<QAction*>("reloadAddOns");
    ASSERT_NE(reload, nullptr);
    reload->trigger();
    QCoreApplication::processEvents();
    EXPECT_TRUE(Logged(host, "reloading 1 bundle(s)"));
    const auto& lines = host.Log().Lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return l.starts_with("loaded "); }),
              2)
        << host.Log().Text();
    ASSERT_EQ(host.AddOns().size(), 1u);
    ASSERT_NE(MenuItem(32500, 1), nullptr) << "its menu is back in the menu bar";
    EXPECT_EQ(MenuItem(32500, 1)->text(), "Modal dialog");
}

// Worked by mouse. That each window shows what the host holds (titles, sizes, texts, rows, states)
// is checked after every line of a windowed script run (gui.kfhost_script_and_pictures); here, what
// that check does not see: modality, tab fields, pictures, and the mouse's way to the add-on.
TEST_F(ProbeWindows, ModalDialogIsWorkedThroughItsWidgets)
{
    const KF_HostTable& table = host.AddOns().front()->table;
    auto box = [&] { return qobject_cast<QCheckBox*>(drive.Item(6)); };
    drive.Run(Choose(32500, 1),
              {
                  drive.Shows(32600),
                  Do([&] {
                      EXPECT_EQ(drive.Top()->windowModality(), Qt::ApplicationModal);
                      kfhost::qt::RowList* list = drive.List(3);
                      ASSERT_NE(list, nullptr);
                      ASSERT_EQ(list->Tabs().size(), 2u);
                      EXPECT_EQ(list->Tabs()[1].begPos, 150);
                      for (int row = 0; row < 3; ++row)
                          EXPECT_FALSE(list->item(row)->data(Qt::DecorationRole).value<QPixmap>().isNull()) << row;
                      drive.SelectRow(3, 2);
                  }),
                  Do([&] {
                      EXPECT_EQ(drive.Text(4), "Beta") << "the change message reached the add-on";
                      const auto* icon = qobject_cast<QLabel*>(drive.Item(8));
                      ASSERT_NE(icon, nullptr);
                      EXPECT_EQ(icon->pixmap().toImage(),
                                session.Backend().Icon(host.Dialogs().Current()->resModule, 32759).toImage())
                          << "the icon the add-on set for the row";
                      drive.SelectRow(3, 3);
                  }),
                  Do([&] {
                      EXPECT_FALSE(drive.Item(1)->isEnabled()) << "disabled live on the third row";
                      drive.Click(1); // a click on a disabled button does nothing
                      // The check box shows the state the host holds, whoever set it.
                      table.SetItemChecked(table.context, host.Dialogs().Current()->id, 6, 1);
                  }),
                  Do([&] {
                      ASSERT_NE(box(), nullptr);
                      EXPECT_TRUE(box()->isChecked()) << "set by the add-on";
                      EXPECT_FALSE(drive.Item(5)->isVisible()) << "setting it sends no click";
                      drive.Click(6);
                  }),
                  Do([&] {
                      EXPECT_FALSE(box()->isChecked());
                      EXPECT_EQ(table.IsItemChecked(table.context, host.Dialogs().Current()->id, 6), 0);
                      drive.Click(6);
                  }),
                  Do([&] {
                      EXPECT_TRUE(drive.Item(5)->isVisible()) << "the add-on read the user's state";
                      drive.Click(7); // blocks in the nested dialog; the next steps run inside it
                  }),
                  drive.Shows(32602),
                  Do([&] { drive.Top()->close(); }), // the window's close box
                  drive.Shows(32600),
                  Do([&] { drive.SelectRow(3, 1); }),
                  Do([&] { drive.Click(1); }),
              });
    EXPECT_EQ(host.Dialogs().ModalDepth(), 0);
    EXPECT_TRUE(session.Backend().Windows().empty());
    EXPECT_TRUE(Logged(host, "closed 32602 with 1")) << "the close box closes with the cancel item";
    EXPECT_TRUE(Logged(host, "closed 32600 with 1"));
    EXPECT_FALSE(Logged(host, "closed 32600 with 2"));
}

TEST_F(ProbeWindows, ModelessWindowStandsBesideTheMainWindow)
{
    session.Window().setGeometry(0, 0, 300, 200); // room beside it on the offscreen screen
    drive.Run(Choose(32500, 2),
              {
                  [&] { return drive.WindowOf(32601) != nullptr; },
                  Do([&] {
                      kfhost::qt::DialogWindow* window = drive.WindowOf(32601);
                      EXPECT_EQ(window->windowModality(), Qt::NonModal);
                      EXPECT_TRUE(window->isVisible());
                      EXPECT_GE(window->x(), session.Window().frameGeometry().right()) << "beside, not over, the work";
                      EXPECT_EQ(host.ModelessWindows().size(), 1u);
                      EXPECT_TRUE(session.Window().StatusLabel().text().contains("1 dialog open"));
                      QTest::mouseClick(window->ItemWidget(1), Qt::LeftButton);
                  }),
                  Do([&] {
                      EXPECT_EQ(drive.WindowOf(32601), nullptr);
                      EXPECT_TRUE(host.ModelessWindows().empty()) << "unregistered on close";
                  }),
                  // Again, closed by its close box: no cancel item, so the item is -1 and the add-on answers 1.
                  Do([&] { MenuItem(32500, 2)->trigger(); }),
                  [&] { return drive.WindowOf(32601) != nullptr; },
                  Do([&] { drive.WindowOf(32601)->close(); }),
              });
    EXPECT_TRUE(Logged(host, "closed 32601 with 1"));
    EXPECT_TRUE(Logged(host, "closed 32601 with -1 result 1"));
    EXPECT_EQ(drive.WindowOf(32601), nullptr);
}

TEST_F(ProbeWindows, TimerRunsOnQtsLoopAndItsAlertIsAMessageBox)
{
    drive.Run(Choose(32500, 6),
              {
                  Do([&] { ASSERT_NE(dynamic_cast<kfhost::qt::QtRunLoop*>(&host.Loop()), nullptr); }),
                  [&] { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()) != nullptr; },
                  Do([&] {
                      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                      EXPECT_EQ(box->text(), "timer fired");
                      QAbstractButton* ok = kftest::Driver::ModalButton("OK");
                      ASSERT_NE(ok, nullptr) << "the button text the add-on gave";
                      QTest::mouseClick(ok, Qt::LeftButton);
                  }),
              });
    EXPECT_TRUE(Logged(host, "alert \"\" \"timer fired\" \"\" buttons \"OK\""));
}

TEST_F(ProbeWindows, FileDialogIsAQtFileDialogWithTheTypesFilters)
{
    const auto file = temp.Path() / "notes.txt";
    std::ofstream(file) << "x";
    const QString path = QString::fromStdString(file.string());
    drive.Run(Choose(32500, 5),
              {
                  [&] { return qobject_cast<QFileDialog*>(QApplication::activeModalWidget()) != nullptr; },
                  Do([&] {
                      auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
                      EXPECT_EQ(dialog->windowTitle(), "Pick a file");
                      EXPECT_EQ(dialog->nameFilters(), QStringList{"Text file (*.txt)"})
                          << "from the registered file type";
                      // Typed as a person would: the name field has the focus.
                      auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
                      ASSERT_NE(name, nullptr);
                      name->clear();
                      QTest::keyClicks(name, path);
                  }),
                  Do([&] {
                      auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
                      ASSERT_NE(dialog, nullptr);
                      EXPECT_EQ(dialog->selectedFiles(), QStringList{path});
                      QTest::keyClick(dialog->findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
                  }),
                  [&] { return kftest::Driver::ModalButton("OK") != nullptr; },
                  Do([&] { QTest::mouseClick(kftest::Driver::ModalButton("OK"), Qt::LeftButton); }),
              });
    EXPECT_TRUE(Logged(host, "file dialog \"Pick a file\" -> \"" + file.string() + "\""));
    EXPECT_TRUE(Logged(host, "alert \"\" \"file: " + file.string() + "\" \"\" buttons \"OK\""));
}

// Counts the clicks on every button named as dialog item `item` from the moment it is shown.
class ButtonClicks : public QObject {
public:
    explicit ButtonClicks(const char* item) : item_(item) { qApp->installEventFilter(this); }
    ~ButtonClicks() override { qApp->removeEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() == QEvent::Polish && object->objectName() == item_)
            if (auto* button = qobject_cast<QAbstractButton*>(object))
                connect(button, &QAbstractButton::clicked, this, [this] { ++count; });
        return false;
    }

private:
    QString item_;
};

TEST_F(ProbeWindows, ScriptClicksGoToTheWidgetsAndRefusalsAreTheHeadlessOnes)
{
    const ButtonClicks cancel("item2");
    const bool ok = session.Run("menu 32500 1\n"
                                "select 3 3\n"
                                "expect disabled 1\n"
                                "click 1\n"
                                "click 2\n",
                                "gui.kfs");
    EXPECT_FALSE(ok);
    ASSERT_EQ(script.Failures().size(), 1u);
    EXPECT_EQ(script.Failures()[0], "gui.kfs:4: click 1: item 1 is disabled");
    EXPECT_TRUE(Logged(host, "> select 3 3"));
    EXPECT_TRUE(Logged(host, "closed 32600 with 2"));
    EXPECT_EQ(cancel.count, 1) << "the script's click reached the button";
}

} // namespace
