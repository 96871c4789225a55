// DG calls of an add-on against the host's dialog model: lists, item states, check boxes and icon
// items, modeless messages, file dialogs and file types.
#include "DG.hpp"
#include "HostAPI.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

Base::UniString U(const char* s)
{
    return Base::UniString::FromUTF8(s);
}

struct Message {
    short message;
    short item;
};
std::vector<Message> gMessages;
short gClickAnswer = 0;

short Record(short message, short, short item, DGUserData, DGMessageData)
{
    gMessages.push_back({message, item});
    if (message == DG_MSG_CLICK)
        return gClickAnswer;
    return message == DG_MSG_CLOSE ? short(item * 10) : short(0);
}

class Dialogs : public ::testing::Test {
protected:
    void SetUp() override
    {
        gMessages.clear();
        gClickAnswer = 0;
        host.AddResourceText(R"(
dialog 100 "Lists" size 200 100 cancel 2
  1 button 0 0 10 10 "OK"
  2 button 0 0 10 10 "Cancel"
  3 list 0 0 100 100
  4 static 0 0 10 10 "label"
  5 checkbox 0 0 10 10 "Check"
  6 icon 0 0 32 32 32758
end
)");
        host.Attach();
        const HostResModule previous = HostAPI_UseOwnResModule();
        dialog = DGModelessInit(HostAPI_GetOwnResModule(), 100, HostAPI_GetOwnResModule(), Record, 7, 0);
        HostAPI_ResetResModule(previous);
    }

    kftest::InProcessHost host;
    short dialog = 0;
};

TEST_F(Dialogs, ModelessDialogGetsItsInitAtCreationAndStaysHiddenUntilShown)
{
    ASSERT_NE(dialog, 0);
    ASSERT_EQ(gMessages.size(), 1u);
    EXPECT_EQ(gMessages[0].message, DG_MSG_INIT);
    EXPECT_TRUE(DGIsDialogOpen(dialog));
    EXPECT_EQ(host.CurrentDialog(), nullptr) << "not shown yet";
    DGShowModelessDialog(dialog);
    ASSERT_NE(host.CurrentDialog(), nullptr);
    EXPECT_EQ(host.CurrentDialog()->resID, 100);
    EXPECT_EQ(DGGetDialogTitle(dialog).ToUTF8(), "Lists");
    DGSetDialogTitle(dialog, U("Renamed"));
    DGSetDialogSize(dialog, DG_CLIENT, 356, 500, DG_TOPLEFT, true);
    EXPECT_EQ(host.CurrentDialog()->title, u"Renamed");
    EXPECT_EQ(host.CurrentDialog()->width, 356);
    EXPECT_EQ(host.CurrentDialog()->height, 500);
}

TEST_F(Dialogs, ListRowsInsertDeleteAndSelectOneAtATime)
{
    EXPECT_TRUE(DGListSetTabFieldCount(dialog, 3, 2));
    EXPECT_TRUE(DGListSetTabFieldData(dialog, 3, 2, 5, 285, DG_IS_LEFT, DG_IS_TRUNCEND, false, true));
    EXPECT_FALSE(DGListSetTabFieldData(dialog, 3, 3, 5, 285, DG_IS_LEFT, DG_IS_TRUNCEND, false, true));
    EXPECT_FALSE(DGListSetTabFieldCount(dialog, 4, 1)) << "a static text is no list";
    for (const char* text : {"b", "c"}) {
        ASSERT_TRUE(DGListInsertItem(dialog, 3, DG_LIST_BOTTOM));
        DGListSetItemText(dialog, 3, DGListGetItemCount(dialog, 3), U(text));
    }
    ASSERT_TRUE(DGListInsertItem(dialog, 3, DG_LIST_TOP));
    DGListSetItemText(dialog, 3, 1, U("a"));
    ASSERT_TRUE(DGListInsertItem(dialog, 3, 2)); // before row 2
    DGListSetTabItemText(dialog, 3, 2, 1, U("a2"));
    EXPECT_FALSE(DGListInsertItem(dialog, 3, 9));
    ASSERT_EQ(DGListGetItemCount(dialog, 3), 4);
    EXPECT_EQ(DGListGetTabItemText(dialog, 3, 1, 0).ToUTF8(), "a");
    EXPECT_EQ(DGListGetTabItemText(dialog, 3, 2, 1).ToUTF8(), "a2");
    EXPECT_EQ(DGListGetTabItemText(dialog, 3, 3, 0).ToUTF8(), "b");
    EXPECT_EQ(DGListGetTabItemText(dialog, 3, 4, 0).ToUTF8(), "c");

    DGListSelectItem(dialog, 3, 3);
    DGListSelectItem(dialog, 3, 4);
    EXPECT_EQ(DGListGetSelected(dialog, 3, 0), 4);
    EXPECT_EQ(DGListGetSelected(dialog, 3, 4), 0);
    DGListDeselectItem(dialog, 3, DG_ALL_ITEMS);
    EXPECT_EQ(DGListGetSelected(dialog, 3, 0), 0);

    DGListDeleteItem(dialog, 3, 1);
    EXPECT_EQ(DGListGetTabItemText(dialog, 3, 1, 1).ToUTF8(), "a2");
    DGListDeleteItem(dialog, 3, DG_ALL_ITEMS);
    EXPECT_EQ(DGListGetItemCount(dialog, 3), 0);
}

TEST_F(Dialogs, UserActionsReachTheCallbackAndAClickAnswerCloses)
{
    DGShowModelessDialog(dialog);
    EXPECT_TRUE(host.Run("click 4\n"));
    EXPECT_TRUE(DGIsDialogOpen(dialog)) << "answered 0: stays open";
    DGHideItem(dialog, 4);
    DGDisableItem(dialog, 1);
    EXPECT_FALSE(DGIsItemVisible(dialog, 4));
    EXPECT_FALSE(DGIsItemEnabled(dialog, 1));
    EXPECT_FALSE(host.Run("click 4\nclick 1\n")) << "hidden and disabled items take no clicks";
    DGShowItem(dialog, 4);
    DGEnableItem(dialog, 1);

    gClickAnswer = 1;
    gMessages.clear();
    EXPECT_TRUE(host.Run("click 1\nexpect no-dialog\n"));
    ASSERT_EQ(gMessages.size(), 2u);
    EXPECT_EQ(gMessages[1].message, DG_MSG_CLOSE);
    EXPECT_EQ(gMessages[1].item, 1);
    EXPECT_FALSE(DGIsDialogOpen(dialog));
    EXPECT_EQ(host.Transcript().back(), "closed 100 with 1 result 10");
}

TEST_F(Dialogs, CheckBoxesAndIconItemsAreReadAndSetOnlyForTheirKind)
{
    DGShowModelessDialog(dialog);
    EXPECT_FALSE(DGIsItemChecked(dialog, 5));
    gMessages.clear();
    DGSetItemChecked(dialog, 5, true);
    EXPECT_TRUE(DGIsItemChecked(dialog, 5));
    EXPECT_TRUE(gMessages.empty()) << "setting the state sends no message";
    EXPECT_TRUE(host.Run("expect checked 5\nclick 5\nexpect unchecked 5\n"));
    EXPECT_FALSE(DGIsItemChecked(dialog, 5)) << "the user's click is what the add-on reads";
    DGSetItemChecked(dialog, 1, true);
    EXPECT_FALSE(host.CurrentDialog()->Item(1)->checked) << "a button has no check state";
    EXPECT_FALSE(DGIsItemChecked(dialog, 1));
    EXPECT_FALSE(DGIsItemChecked(dialog, 99));

    EXPECT_EQ(DGGetItemIcon(dialog, 6), 32758);
    DGSetItemIcon(dialog, 6, 32760);
    EXPECT_EQ(DGGetItemIcon(dialog, 6), 32760);
    EXPECT_EQ(host.CurrentDialog()->Item(6)->iconResID, 32760);
    DGSetItemIcon(dialog, 4, 32760);
    EXPECT_EQ(host.CurrentDialog()->Item(4)->iconResID, 0) << "a static text shows no icon";
    EXPECT_EQ(DGGetItemIcon(dialog, 4), 0);
    EXPECT_EQ(DGGetItemIcon(dialog, 99), 0);
}

TEST_F(Dialogs, ModelessCloseFromOutsideSendsItsCloseAndLeavesNoDialog)
{
    const HostResModule previous = HostAPI_UseOwnResModule();
    const short second = DGModelessInit(HostAPI_GetOwnResModule(), 100, 0, Record, 0, 0);
    HostAPI_ResetResModule(previous);
    gMessages.clear();
    DGModelessClose(second);
    ASSERT_EQ(gMessages.size(), 1u);
    EXPECT_EQ(gMessages[0].item, 0);
    EXPECT_FALSE(DGIsDialogOpen(second));
    DGSetItemText(second, 4, U("ignored")); // a closed dialog is no longer there
    EXPECT_EQ(DGGetItemText(second, 4).ToUTF8(), "");
}

TEST_F(Dialogs, DialogsComeFromTheNamedOrCurrentModuleOnly)
{
    EXPECT_EQ(DGModelessInit(0, 100, 0, Record, 0, 0), 0) << "the host's own module has no dialog 100";
    EXPECT_EQ(DGModelessInit(HostAPI_GetOwnResModule(), 101, 0, Record, 0, 0), 0);
    const HostResModule previous = HostAPI_UseOwnResModule();
    EXPECT_NE(DGModelessInit(0, 100, 0, Record, 0, 0), 0);
    HostAPI_ResetResModule(previous);
}

TEST_F(Dialogs, FileDialogReportsTheChosenFileAndFilter)
{
    FTM::FileTypeManager manager("Module");
    const FTM::TypeID text = manager.AddType(FTM::FileType("Text", "txt", Base::FourCC("HOST"), 1, 145));
    const FTM::TypeID data = manager.AddType(FTM::FileType("Data", "dat", Base::FourCC("HOST"), 2, 145));
    EXPECT_NE(text, data);
    EXPECT_EQ(manager.AddType(FTM::FileType("Text", "txt", Base::FourCC("HOST"), 1, 145)), text);

    DG::FileDialog dialog(DG::FileDialog::OpenFile);
    EXPECT_FALSE(dialog.AddFilter(0)) << "no type";
    EXPECT_TRUE(dialog.AddFilter(text));
    EXPECT_TRUE(dialog.AddFilter(data));
    for (FTM::TypeID id = 100; id < 130; ++id)
        EXPECT_TRUE(dialog.AddFilter(id)) << id;
    EXPECT_FALSE(dialog.AddFilter(130)) << "thirty-two filters at the most";
    dialog.SetFolder(IO::Location(U("/tmp")));
    host.Queue("answer file \"/tmp/x.dat\" 1\n");
    ASSERT_TRUE(dialog.Invoke());
    EXPECT_EQ(dialog.GetSelectionCount(), 1u);
    Base::UniString path;
    dialog.GetSelectedFile(0).ToPath(&path);
    EXPECT_EQ(path.ToUTF8(), "/tmp/x.dat");
    EXPECT_EQ(dialog.GetSelectedFilter(), 1u);

    host.Queue("answer folder \"/tmp\"\n");
    EXPECT_FALSE(dialog.Invoke()) << "a folder is no answer to a file dialog";
    EXPECT_FALSE(host.ScriptOk());
}

} // namespace
