// The add-on as its users see it, clicked through real widgets: the first-use language question with
// its flags, the main dialog in the language chosen, the language button, and another add-on's
// module command sent from the Host menu.
#include "WindowedHost.hpp"
#include "kftest/Files.hpp"

#include "kfhost/qt/Gui.hpp"
#include "kfhost/script/Runner.hpp"
#include "kfhost/qt/MainWindow.hpp"

#include <QAction>
#include <QMenu>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace {

using kftest::Do;
using kftest::Logged;

constexpr std::int16_t kMain = 32500;
constexpr std::int16_t kLanguage = 32734;
constexpr std::int16_t kShellStrings = 32530; // + language
constexpr std::int16_t kFrameworkStrings = 32710;
constexpr int kInt = 1;
constexpr int kGer = 3;

// One run of the host with the add-on loaded, on a framework folder that outlives it.
struct HostRun : kftest::WindowedHost {
    explicit HostRun(const std::filesystem::path& folder) : WindowedHost(kftest::InFolder(folder), KF_GUI_SHELL_BUNDLE)
    {}

    // A string of the add-on's resources: what a dialog item must show.
    QString Str(int resID, int index) const
    {
        const std::u16string* text = host.AddOns().front()->resources.String(std::int16_t(resID), std::int16_t(index));
        return text ? QString::fromStdU16String(*text) : QStringLiteral("<missing %1/%2>").arg(resID).arg(index);
    }
};

class AddOnWindows : public ::testing::Test {
protected:
    kftest::TempFolder folder;
};

TEST_F(AddOnWindows, FirstUseQuestionMainDialogAndLanguageButton)
{
    HostRun run(folder.Path());
    ASSERT_TRUE(run.loaded.Loaded()) << run.loaded.reason;
    kftest::Driver& drive = run.drive;
    const QString name = QString::fromStdString(run.host.AddOns().front()->name);

    // Which text each item shows in each language is the add-on's (tests/addon); the window shows
    // the host's texts (the probe's windowed script checks that after every line).
    auto mainDialogIn = [&](int language) {
        EXPECT_EQ(drive.Top()->windowTitle(), name);
        EXPECT_EQ(drive.Top()->size(), QSize(356, 500));
        EXPECT_EQ(drive.Text(12), run.Str(kShellStrings + language, 17));
        EXPECT_EQ(drive.Text(9), "1.1.1.2001") << "the version label is never translated";
    };

    drive.Run(run.Choose(32501, 1),
              {
                  drive.Shows(kLanguage),
                  Do([&] {
                      kfhost::qt::DialogWindow* top = drive.Top();
                      EXPECT_EQ(top->windowTitle(), name);
                      EXPECT_EQ(top->size(), QSize(483, 282));
                      kfhost::qt::RowList* list = drive.List(3);
                      ASSERT_NE(list, nullptr);
                      ASSERT_EQ(list->count(), 7) << "every language is offered";
                      for (int row = 0; row < 7; ++row) {
                          EXPECT_EQ(list->item(row)->data(kfhost::qt::RowList::IconIDRole).toInt(), 32758 + row);
                          EXPECT_FALSE(list->item(row)->data(Qt::DecorationRole).value<QPixmap>().isNull())
                              << "flag " << row;
                      }
                      EXPECT_EQ(list->sizeHintForRow(0), 30);
                      ASSERT_EQ(list->Tabs().size(), 1u);
                      EXPECT_EQ(list->Tabs()[0].begPos, 5);
                      EXPECT_EQ(list->Tabs()[0].endPos, 285);
                      EXPECT_EQ(list->SelectedRow(), kInt + 1) << "the default language is selected";
                      drive.SelectRow(3, kGer + 1);
                  }),
                  Do([&] {
                      // The preview follows the mouse's choice; the accepting button keeps its text.
                      EXPECT_EQ(drive.Text(6), run.Str(kFrameworkStrings + kGer, 65));
                      EXPECT_EQ(drive.Text(1), run.Str(kFrameworkStrings + kInt, 64));
                      drive.Click(1);
                  }),
                  drive.Shows(kMain),
                  Do([&] {
                      mainDialogIn(kGer);
                      EXPECT_FALSE(qobject_cast<QLabel*>(drive.Item(1))->pixmap().isNull()) << "the add-on's icon";
                      drive.Click(12);
                  }),
                  drive.Shows(kLanguage),
                  Do([&] {
                      EXPECT_EQ(drive.List(3)->SelectedRow(), kGer + 1);
                      drive.SelectRow(3, kInt + 1);
                  }),
                  Do([&] { drive.Click(1); }),
                  drive.Shows(kMain),
                  Do([&] {
                      mainDialogIn(kInt);
                      drive.Top()->close(); // the close box: the closing item
                  }),
              });
    EXPECT_TRUE(Logged(run.host, "closed 32734 with 1"));
    EXPECT_TRUE(Logged(run.host, "closed 32500 with 12"));
    EXPECT_TRUE(Logged(run.host, "closed 32500 with 2"));
    EXPECT_EQ(run.host.Dialogs().ModalDepth(), 0);
}

// That a stored language skips the question is FirstUse's (tests/addon); here, the Host menu's
// module command reaching the add-on through the widgets.
TEST_F(AddOnWindows, HostMenuModuleCommandOpensTheMainDialog)
{
    HostRun run(folder.Path());
    ASSERT_TRUE(run.loaded.Loaded()) << run.loaded.reason;
    kftest::Driver& drive = run.drive;
    QMenu* hostMenu = run.session.Window().menuBar()->findChild<QMenu*>("hostMenu");
    ASSERT_NE(hostMenu, nullptr);
    emit hostMenu->aboutToShow();
    QAction* send = nullptr;
    for (QAction* action : hostMenu->actions())
        if (action->text().startsWith("Send \"QRT \""))
            send = action;
    ASSERT_NE(send, nullptr);
    drive.Run([&] { send->trigger(); }, {drive.Shows(kMain), Do([&] { drive.Click(2); })});
    EXPECT_TRUE(Logged(run.host, "> command \"QRT \" 0"));
}

} // namespace
