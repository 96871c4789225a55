// The check and its results dialog with the framework linked into the test, for what the example
// add-on cannot reach: a malformed own version line, the call contracts, and every state of the
// dialog's items (add-on "Beam Tools", see AddOnConstants.cpp).
#include "AddOnHost.hpp"
#include "DownloadHarness.hpp"
#include "KF_AddonUpdateState.hpp"
#include "VersionsParse.hpp"

#include "HostAPI.hpp"
#include "DG.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Language.hpp"
#include "kfsdk/HostTable.h"

#include <sys/wait.h>

#include <csignal>

using namespace kftest;

namespace {

class CheckInProcess : public DownloadTest {
protected:
    CheckInProcess() : DownloadTest(0, KF_UPDATE_EXAMPLE_RESOURCES)
    {
        gKF_Language = 1;
        State().status = 0;
        State().statusLib = 0;
        State().hasLibrary = false;
    }

    static kf::detail::KF_UpdateCheckState& State() { return kf::detail::KF_AddonUpdate_State(); }
    void Serve(const std::string& text) { ServedFile("update_plugins/versions16.txt", text); }
    std::string Text(int index) const { return ExampleText(resources_, index); }

    // A results dialog filled from the state as it is now.
    kfhost::Dialog& Results(int status, bool library, int statusLib)
    {
        State().status = status;
        State().hasLibrary = library;
        State().addonLibName = "BeamLib";
        State().statusLib = statusLib;
        const short id =
            DGModelessInit(HostAPI_GetOwnResModule(), kf::detail::kUpdateResultDialog, HostAPI_GetOwnResModule(),
                           kf::detail::KF_AddonUpdate_ResultUpdate_Handler, 0, 0);
        DGShowModelessDialog(id);
        kfhost::Dialog* dialog = host_->Host().Dialogs().Find(id);
        if (dialog == nullptr)
            throw std::runtime_error("the results dialog was not made");
        return *dialog;
    }

    void Check(const KF_String& line, const KF_String& library = KF_String(""))
    {
        ASSERT_TRUE(KF_AddonUpdate_CheckForUpdate(0, true, line, library));
        ASSERT_TRUE(host_->RunUntilIdle()) << "the check never ended";
    }

    kfhost::ResourceModule resources_ = kfhost::LoadResourceFolder(KF_UPDATE_EXAMPLE_RESOURCES);
};

} // namespace

// Every state of the item table: status (1 checking, 2 nothing newer, 3 newer), library or not,
// whether a result was shown for the library; then the texts by string index (0: not checked)
// and which items show (1 to 7, "-" hidden) and whether item 5 is enabled.
struct DialogState {
    int status;
    bool library;
    int statusLib;
    int item3, item4, item6, item7;
    const char* shown;
    bool addonPageEnabled;
};

TEST_F(CheckInProcess, TheResultsDialogShowsEveryStateOfItsItems)
{
    const DialogState states[] = {
        {1, true, 0, 0, 0, 0, 79, "-23----", true}, // item 3 keeps the resource's state
        {3, false, 1, 0, 34, 0, 79, "12-45--", true},   {2, false, 1, 0, 35, 0, 79, "12-45--", false},
        {3, true, 1, 34, 81, 82, 84, "1234567", true},  {2, true, 1, 35, 80, 82, 84, "1234567", false},
        {2, true, 0, 34, 80, 83, 79, "1234567", false},
    };
    for (const DialogState& s : states) {
        SCOPED_TRACE(testing::Message() << "status " << s.status << " library " << s.library << " lib " << s.statusLib);
        kfhost::Dialog& d = Results(s.status, s.library, s.statusLib);
        EXPECT_EQ(ToUtf8(d.title), "Beam Tools");
        EXPECT_EQ(d.width, 655);
        EXPECT_EQ(d.height, 172);
        EXPECT_EQ(ItemText(d, 1), Text(37));
        EXPECT_EQ(ItemText(d, 2), Text(5));
        EXPECT_EQ(ItemText(d, 5), Text(79));
        EXPECT_EQ(ItemText(d, 7), Text(s.item7));
        if (s.item3 != 0) {
            EXPECT_EQ(ItemText(d, 3), Text(s.item3));
        }
        if (s.item4 != 0) {
            EXPECT_EQ(ItemText(d, 4), With(Text(s.item4), "ADDONNAME", "Beam Tools"));
        }
        if (s.item6 != 0) {
            EXPECT_EQ(ItemText(d, 6), With(Text(s.item6), "ADDONLIBNAME", "BeamLib"));
        }
        std::string shown;
        for (short item = 1; item <= 7; ++item)
            shown += Visible(d, item) ? static_cast<char>('0' + item) : '-';
        EXPECT_EQ(shown, s.shown);
        EXPECT_EQ(Enabled(d, 5), s.addonPageEnabled);
        EXPECT_TRUE(Enabled(d, 7));
    }
}

// The web site's and the update pages' buttons open them and close the dialog; the pages' query
// names the add-on as it is and never the library. Cancel closes it too, the texts do nothing, and a
// cancelled dialog does not cancel the next check.
TEST_F(CheckInProcess, OnlyTheFourButtonsActAndTheUpdatePageQueryNamesTheAddonAsItIs)
{
    gKF_Language = 3;
    std::string const page = server_->BaseUrl() + "/update_plugins/updates.htm?acver=17&lang=3&addon=Beam Tools";
    const std::pair<int, std::string> buttons[] = {
        {1, server_->BaseUrl() + "/"}, {5, page}, {7, page + "&lib=Unknown"}};
    for (const auto& [item, launched] : buttons) {
        const std::int16_t id = Results(3, true, 1).id;
        ASSERT_TRUE(host_->Run("click " + std::to_string(item)));
        EXPECT_EQ(host_->Launched().back(), (std::vector<std::string>{"xdg-open", launched})) << item;
        EXPECT_EQ(host_->Host().Dialogs().Find(id), nullptr) << item << ": the dialog is freed once it closes";
    }

    const std::int16_t id = Results(3, true, 1).id;
    using kf::detail::KF_AddonUpdate_ResultUpdate_Handler;
    EXPECT_EQ(KF_AddonUpdate_ResultUpdate_Handler(DG_MSG_CLICK, id, -1, 0, 0), -1);
    EXPECT_EQ(KF_AddonUpdate_ResultUpdate_Handler(DG_MSG_CHANGE, id, 5, 0, 0), 0);
    ASSERT_TRUE(host_->Run("click 3"));
    ASSERT_TRUE(host_->Run("click 6"));
    ASSERT_NE(host_->Host().Dialogs().Find(id), nullptr) << "a text is no button";
    ASSERT_TRUE(host_->Run("click 2"));
    EXPECT_EQ(host_->Host().Dialogs().Find(id), nullptr);
    EXPECT_EQ(host_->Launched().size(), 3u);
    EXPECT_TRUE(State().cancelled);
    Serve("OBT 1.2.1.0 (HV170) 02/09/2013\n");
    Check(KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"));
    EXPECT_EQ(State().status, 3) << "the next check runs to its result";
}

TEST_F(CheckInProcess, CallsThatDoNothing)
{
    Serve("OBT 1.2.1.0 (HV170) 02/09/2013\n");
    EXPECT_FALSE(KF_AddonUpdate_CheckForUpdate(0, true, KF_String(""), KF_String("")));
    EXPECT_FALSE(KF_AddonUpdate_CheckForUpdate(0, true, KF_String(), KF_String("")));
    EXPECT_TRUE(KF_AddonUpdate_CheckForUpdate(2, true, KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"), KF_String("")));
    EXPECT_TRUE(KF_AddonUpdate_AutoUpdate(2, KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"), KF_String("")));
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_TRUE(server_->RequestTargets().empty());
    EXPECT_TRUE(ReadSettingsFile(host_->FrameworkFolder() / "BeamTools_10.cfg").empty());
    host_->Host().SetFrameworkFolder({});
    EXPECT_FALSE(KF_AddonUpdate_CheckForUpdate(0, true, KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"), KF_String("")))
        << "no framework folder";
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_TRUE(server_->RequestTargets().empty());
    EXPECT_TRUE(host_->Run("expect no-alert"));
}

TEST_F(CheckInProcess, OnlyTheDateDecidesTheLastMatchingLineIsRememberedAndAMalformedOwnLineFails)
{
    Serve("OBT 1.0.0.0 (HV170) 01/01/2014\n"
          "OBT 1.9.0.0 (HV170) 01/01/2012\n"
          "Lib 01-01-2020\n"
          "OBT 2.0.0.0 (HV170) 01/01/2020\n");
    Check(KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"));
    EXPECT_EQ(State().status, 3);
    EXPECT_EQ(Utf8(State().serverAddonVersion), "OBT 1.9.0.0 (HV170) 01/01/2012");
    EXPECT_EQ(Utf8(State().serverAddonLibVersion), "???");

    Serve("OBT 1.2.0.3 (HV160) 01/01/2014\n");
    Check(KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"));
    EXPECT_EQ(State().status, 2);
    EXPECT_EQ(Utf8(State().serverAddonVersion), "???");

    // A malformed own version line: the file is fetched before the line is looked at, then the alert.
    std::size_t const requests = server_->RequestTargets().size();
    Check(KF_String("OBT 1.2.0.3 15/03/2013"));
    EXPECT_TRUE(host_->Run("expect alert \"" + Text(33) + "\""));
    EXPECT_TRUE(host_->Run("expect no-alert"));
    EXPECT_EQ(State().status, 1) << "no result";
    EXPECT_TRUE(kftest::WaitUntil([&] { return server_->RequestTargets().size() == requests + 1; }));
}

TEST_F(CheckInProcess, ReadVersionsFileReadsTheCopyInTheFrameworkFolder)
{
    KF_List<KF_AddonUpdate_Message> messages;
    KF_List<KF_AddonUpdate_Addon> addons;
    KF_List<KF_AddonUpdate_Library> libraries;
    EXPECT_FALSE(KF_AddonUpdate_ReadVersionsFile(messages, addons, libraries)) << "no copy yet";

    std::filesystem::path const copy = host_->FrameworkFolder() / "__updcf__.tmp";
    kftest::WriteFile(copy, "");
    EXPECT_TRUE(KF_AddonUpdate_ReadVersionsFile(messages, addons, libraries));
    EXPECT_EQ(addons.GetCount(), 0);

    kftest::WriteFile(copy, "MESSAGE\nLib 01-01-2013\nOBT 1.2.1.0 (HV170) 02/09/2013 int\n# Grüße\n");
    EXPECT_TRUE(KF_AddonUpdate_ReadVersionsFile(messages, addons, libraries));
    ASSERT_EQ(addons.GetCount(), 1);
    EXPECT_EQ(Utf8(addons[0].text), "Grüße") << "the copy is read as UTF-8";
    EXPECT_EQ(messages.GetCount(), 1);
    EXPECT_EQ(libraries.GetCount(), 1);
    EXPECT_TRUE(std::filesystem::exists(copy)) << "reading leaves the copy in place";

    host_->Faults().Fail(kfhost::FileOp::Read, "*__updcf__.tmp", KF_IOERR_ERROR);
    EXPECT_TRUE(KF_AddonUpdate_ReadVersionsFile(messages, addons, libraries)) << "an unreadable copy counts as empty";
    EXPECT_EQ(addons.GetCount(), 1);
}

// An automatic check waits fourteen days after the last one. A stored time later than now (a clock
// that was once wrong) or one that does not read as a number is due at once, and replaced.
TEST_F(CheckInProcess, TheIntervalEndsAfterFourteenDaysAndAnUnbelievableLastCheckIsDue)
{
    Serve("OBT 1.2.1.0 (HV170) 02/09/2013\n");
    const KF_String line("OBT 1.2.0.3 (HV170) 15/03/2013");
    const KF_String key = KF_String("LastUpdateCheck_170");
    const long now = long(std::time(nullptr));
    const long fourteenDays = 14L * 24 * 3600;
    const std::pair<std::string, bool> cases[] = {
        {std::to_string(now - fourteenDays + 60), false},
        {std::to_string(now - fourteenDays - 2), true},
        {std::to_string(now + 3600), true},
        {"2145916800", true}, // 2038
        {"4102444800", true}, // 2100
        {"abc", true},
        {"", true},
        {"12abc", true},
        {"99999999999999999999999", true},
    };
    for (const auto& [stored, checks] : cases) {
        std::size_t const requests = server_->RequestTargets().size();
        State().status = 0;
        KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, key, KF_String(stored.c_str()), true);
        EXPECT_TRUE(KF_AddonUpdate_CheckForUpdate(0, false, line, KF_String("")));
        EXPECT_TRUE(host_->RunUntilIdle());
        EXPECT_EQ(server_->RequestTargets().size(), requests + (checks ? 1 : 0)) << stored;
        EXPECT_EQ(State().status, checks ? 3 : 0) << stored << ": an automatic check shows a newer release";
        const std::string after = Utf8(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, key, true));
        if (checks)
            EXPECT_LE(std::labs(std::atol(after.c_str()) - long(std::time(nullptr))), 60) << stored << " -> " << after;
        else
            EXPECT_EQ(after, stored);
    }
}

TEST_F(CheckInProcess, TheCheckMarkFollowsTheSettingInAllSevenMenus)
{
    constexpr short kFirst = 32600;
    constexpr short kLast = kFirst + 6;
    for (short menu = kFirst; menu <= kLast; ++menu)
        ASSERT_EQ(HostAPI_Register_Menu(menu, 0, MenuCode_Tools, 0), NoError) << menu;
    // The mark of item 2 in every menu, and the stored setting.
    auto expectMarks = [](bool on) {
        for (short menu = kFirst; menu <= kLast; ++menu) {
            API_MenuItemRef item{};
            item.menuResID = menu;
            item.itemIndex = 2;
            HostFlags flags = 0;
            EXPECT_EQ(HostAPI_Interface(HostOp_GetMenuItemFlags, &item, &flags), NoError) << menu;
            EXPECT_EQ((flags & API_MenuItemChecked) != 0, on) << menu;
        }
        EXPECT_EQ(Utf8(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"), false)),
                  on ? "1" : "0");
    };
    KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"), KF_String("1"), true);
    EXPECT_TRUE(KF_AddonUpdate_SetMenuUpdateCheck(kFirst, 2));
    expectMarks(true);
    EXPECT_TRUE(KF_AddonUpdate_SwitchAutoUpdateValue(kFirst, 2));
    expectMarks(false);
    EXPECT_TRUE(KF_AddonUpdate_SwitchAutoUpdateValue(kFirst, 2));
    expectMarks(true);
}

// A check killed in the middle of its download leaves its partial copy; the next check's download
// removes it, and only what processes that no longer run left.
TEST_F(CheckInProcess, TheNextCheckRemovesWhatAKilledDownloadLeft)
{
    Serve("OBT 1.2.1.0 (HV170) 02/09/2013\n" + std::string(2000, '*'));
    std::filesystem::path const copy = host_->FrameworkFolder() / "__updcf__.tmp";
    const pid_t killed = ::fork();
    ASSERT_GE(killed, 0);
    if (killed == 0) {
        auto dies = [](KF_URL_Message message, double, void*) {
            if (message == KF_URL_Data)
                ::raise(SIGKILL);
            return 0;
        };
        KF_General::URLDownload(KF_String((server_->BaseUrl() + "/test/slow/update_plugins/versions16.txt").c_str()),
                                KF_Location(KF_String(copy.c_str())), dies, nullptr);
        host_->RunLoop(10.0);
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(killed, &status, 0), killed);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ASSERT_EQ(EntriesFor(copy), 1u) << "the partial copy, and no copy";

    Check(KF_String("OBT 1.2.0.3 (HV170) 15/03/2013"));
    EXPECT_EQ(State().status, 3);
    EXPECT_EQ(EntriesFor(copy), 0u);
}

// The versions file may hold exactly 4 MiB, downloaded or read from the copy; one byte more fails.
TEST_F(CheckInProcess, AVersionsFileOfExactlyFourMiBIsReadAndOneByteMoreIsNot)
{
    constexpr std::size_t kLimit = 4u << 20;
    auto sized = [](std::size_t size) {
        std::string text = "OBT 1.2.1.0 (HV170) 02/09/2013\n*";
        text += std::string(size - text.size() - 1, '*') + "\n";
        return text;
    };
    const KF_String line("OBT 1.2.0.3 (HV170) 15/03/2013");
    Serve(sized(kLimit));
    Check(line);
    EXPECT_EQ(State().status, 3);
    EXPECT_TRUE(host_->Run("expect no-alert"));

    Serve(sized(kLimit + 1));
    Check(line);
    EXPECT_EQ(State().status, 1) << "no result";
    EXPECT_TRUE(host_->Run("expect alert \"" + Text(33) + "\""));
    std::filesystem::path const copy = host_->FrameworkFolder() / "__updcf__.tmp";
    EXPECT_EQ(EntriesFor(copy), 0u) << "no partial copy stays";

    for (const std::size_t size : {kLimit, kLimit + 1}) {
        kftest::WriteFile(copy, sized(size));
        KF_List<KF_AddonUpdate_Message> messages;
        KF_List<KF_AddonUpdate_Addon> addons;
        KF_List<KF_AddonUpdate_Library> libraries;
        EXPECT_EQ(KF_AddonUpdate_ReadVersionsFile(messages, addons, libraries), size == kLimit) << size;
        EXPECT_EQ(addons.GetCount(), size == kLimit ? 1 : 0) << size;
    }
}
