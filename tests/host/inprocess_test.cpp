// The probe add-on linked into the test program and driven through an in-process host: the load
// sequence, menus, module commands, dialogs of every kind, alerts, system dialogs, timers, files.
#include "HostAPI.hpp"
#include "HostTextEncoding.hpp"
#include "Probe.hpp"
#include "kfsdk/HostLink.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

namespace fs = std::filesystem;
const fs::path kProbe = KF_PROBE_RESOURCES;
constexpr std::uint32_t kPRBE = 0x50524245u;

class InProcess : public ::testing::Test {
protected:
    explicit InProcess(kfhost::HostConfig config = {}) : host(std::move(config)) {}

    void SetUp() override
    {
        probe::Get() = probe::State{};
        host.AddResourceFolder(kProbe / "common");
        host.AddResourceFolder(kProbe / "a");
    }

    kfhost::LoadResult Load() { return host.Load(kftest::LinkedEntryPoints(), "ProbeA"); }

    bool Logged(const std::string& line) const
    {
        const auto& lines = host.Transcript();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    std::string Failures() const { return host.FailureText(); }

    kftest::InProcessHost host;
};

TEST_F(InProcess, LoadSequenceHandsOverTheTableAndUnloadFreesIt)
{
    const auto result = Load();
    ASSERT_TRUE(result.Loaded()) << result.reason;
    EXPECT_EQ(probe::Get().release, 17);
    EXPECT_EQ(probe::Get().initialized, 1);
    EXPECT_EQ(kfsdk::ClientPointer(), static_cast<void*>(result.addOn));
    EXPECT_EQ(Base::GetApplicationTextEncoding(), Base::AppTextEncoding::UTF8);

    IO::Location own;
    ASSERT_EQ(HostAPI_GetOwnLocation(&own), NoError);
    Base::UniString path;
    own.ToPath(&path);
    EXPECT_EQ(path.ToUTF8(), host.BundlePath("ProbeA").string()) << "the bundle folder itself";

    API_ModulID id;
    ASSERT_EQ(HostAPI_GetOwnModulID(&id), NoError);
    EXPECT_EQ(id.developerID, 0x50524F42u);
    EXPECT_EQ(id.localID, 1u);
    EXPECT_EQ(HostAPI_Command_Test(&id, kPRBE, 1), NoError);
    EXPECT_EQ(HostAPI_Command_Test(&id, kPRBE, 7), APIERR_MODULCMDNOTSUPPORTED);

    host.Unload();
    EXPECT_EQ(probe::Get().freed, 1);
    EXPECT_EQ(kfsdk::ClientPointer(), nullptr);
    EXPECT_EQ(HostAPI_GetOwnLocation(&own), APIERR_GENERAL) << "no table once unloaded";
}

TEST_F(InProcess, NameAndDescriptionAreCutToTheirRecordFields)
{
    struct Case {
        std::size_t length;
        std::size_t kept;
    };
    for (bool description : {false, true}) {
        std::size_t const max = description ? KF_ENVIR_DESCRIPTION_MAX : KF_ENVIR_NAME_MAX;
        for (const Case c : {Case{max - 1, max - 1}, Case{max, max}, Case{max + 1, max}}) {
            std::string text;
            for (std::size_t i = 0; i < c.length; ++i)
                text += char('a' + i % 26);
            probe::Get() = probe::State{};
            (description ? probe::Get().description : probe::Get().name) = text;
            const auto result = Load();
            ASSERT_TRUE(result.Loaded()) << result.reason;
            EXPECT_EQ(description ? result.addOn->description : result.addOn->name, text.substr(0, c.kept)) << c.length;
            host.Unload();
        }
    }
}

TEST_F(InProcess, WrappersAnswerNeutrallyBeforeTheTable)
{
    ASSERT_EQ(kfsdk::CurrentHostTable(), nullptr);
    KF_EnvirRecord envir{};
    const KF_AddOnEntry& entry = kftest::LinkedEntryPoints();
    EXPECT_EQ(entry.version.major, KF_HOST_TABLE_MAJOR);
    EXPECT_EQ(entry.checkEnvironment(&envir), 0);
    EXPECT_EQ(entry.registerInterface(), APIERR_GENERAL);
    EXPECT_EQ(entry.initialize(this), APIERR_GENERAL);
    EXPECT_EQ(entry.freeData(), APIERR_GENERAL);
    EXPECT_EQ(kfsdk::ClientPointer(), nullptr);
    EXPECT_EQ(probe::Get().initialized, 0);
}

TEST_F(InProcess, ModalDialogRunsOnTheScriptAndShowsItsState)
{
    ASSERT_TRUE(Load().Loaded());
    host.Queue(R"(expect dialog 32600
expect title "Probe dialog"
expect rows 3 3
expect selected 3 1
expect row 3 2 "Beta" 1
expect text 4 "Alpha"
select 3 3
expect text 4 "Gamma"
expect disabled 1
expect hidden 5
click 6
expect visible 5
expect checked 6
click 7
expect dialog 32602
close
expect dialog 32600
click 2
)");
    EXPECT_EQ(host.Menu(32500, 1), 0);
    EXPECT_TRUE(host.ScriptOk()) << Failures();
    EXPECT_EQ(host.PendingLines(), 0u);
    EXPECT_EQ(probe::Get().lastModalResult, 2);
    EXPECT_TRUE(Logged("dialog 32600 title \"Probe dialog\""));
    EXPECT_TRUE(Logged("  3 list rows 3"));
    EXPECT_TRUE(Logged("    row 1 \"Alpha\" \"tab\" icon 32758 selected"));
    EXPECT_TRUE(Logged("  5 edit \"edit me\" hidden"));
    EXPECT_TRUE(Logged("  8 icon 32758"));
    EXPECT_TRUE(Logged("closed 32602 with 1"));
    EXPECT_TRUE(Logged("closed 32600 with 2"));
    EXPECT_EQ(host.CurrentDialog(), nullptr);
    EXPECT_EQ(probe::Get().lastIcon, 32760) << "the icon item shows the selected row's icon";
}

// A failed line names where it was queued and the script goes on; a dialog left waiting at the end
// is a failure, not a hang.
TEST_F(InProcess, FailuresNameTheirLineAndADialogLeftWaitingIsNoHang)
{
    ASSERT_TRUE(Load().Loaded());
    host.Queue("select 3 3\nclick 1\nclick 7\n"); // opens the nested dialog, then nothing more
    host.Menu(32500, 1);
    ASSERT_EQ(host.Failures().size(), 3u) << Failures();
    EXPECT_EQ(host.Failures()[0], "queued:2: click 1: item 1 is disabled");
    EXPECT_NE(host.Failures()[1].find("dialog 32602 is still waiting for the script"), std::string::npos);
    EXPECT_NE(host.Failures()[2].find("dialog 32600 is still waiting for the script"), std::string::npos);
    EXPECT_EQ(probe::Get().lastModalResult, 2) << "closed as the close box closes it: with the cancel item";
}

TEST_F(InProcess, ModelessDialogLivesUntilClosedAndUnregistersItsWindow)
{
    ASSERT_TRUE(Load().Loaded());
    EXPECT_EQ(host.Menu(32500, 2), 0);
    const short id = probe::Get().modelessID;
    ASSERT_NE(id, 0);
    EXPECT_TRUE(Logged("dialog 32601 title \"Probe modeless\" modeless"));
    EXPECT_EQ(host.Host().ModelessWindows().count(id), 1u);
    EXPECT_TRUE(host.Run("expect dialog 32601\nexpect text 2 \"Working\"\nclick 1\nexpect no-dialog\n")) << Failures();
    EXPECT_TRUE(Logged("closed 32601 with 1"));
    EXPECT_TRUE(host.Host().ModelessWindows().empty());
    EXPECT_EQ(probe::Get().modelessID, 0);
}

TEST_F(InProcess, SystemDialogsTakeTheScriptsAnswers)
{
    ASSERT_TRUE(Load().Loaded());
    host.Queue("answer folder \"/tmp/chosen folder\"\n");
    host.Menu(32500, 4);
    EXPECT_EQ(probe::Get().lastChoice, "/tmp/chosen folder");
    EXPECT_TRUE(Logged("folder dialog \"Pick a folder\" -> \"/tmp/chosen folder\""));

    host.Queue("answer file \"/tmp/a.txt\"\n");
    host.Menu(32500, 5);
    EXPECT_EQ(probe::Get().lastChoice, "/tmp/a.txt");
    ASSERT_EQ(host.Host().FileTypes().size(), 1u);
    EXPECT_EQ(host.Host().FileTypes()[0].extension, u"txt");
    EXPECT_EQ(host.Host().FileTypes()[0].manager, u"Module");

    host.Queue("answer cancel\n");
    host.Menu(32500, 5);
    EXPECT_EQ(probe::Get().lastChoice, "");
    EXPECT_EQ(host.Host().FileTypes().size(), 1u) << "the same type is registered once";
    EXPECT_TRUE(host.ScriptOk()) << Failures();

    host.Menu(32500, 4); // no answer given
    ASSERT_EQ(host.Failures().size(), 1u);
    EXPECT_NE(host.Failures()[0].find("folder dialog is waiting for an answer"), std::string::npos);
}

TEST_F(InProcess, TimersFireWhenTheLoopRuns)
{
    ASSERT_TRUE(Load().Loaded());
    host.Menu(32500, 6);
    EXPECT_EQ(probe::Get().timerFired, 0);
    EXPECT_TRUE(host.Run("wait 2\nexpect alert \"timer fired\"\n")) << Failures();
    EXPECT_EQ(probe::Get().timerFired, 1);
}

TEST_F(InProcess, FilesGoToTheFrameworkFolderAndFaultsReachTheAddOn)
{
    ASSERT_TRUE(Load().Loaded());
    host.Menu(32500, 7);
    EXPECT_TRUE(Logged("alert \"\" \"write: 0x00000000\" \"\" buttons \"OK\""));
    EXPECT_EQ(kftest::ReadFile(host.FrameworkFolder() / "probe.txt"), "hello");

    host.Faults().Fail(kfhost::FileOp::Write, "*/probe.txt", KF_IOERR_DISKFULL);
    host.ClearTranscript();
    host.Menu(32500, 7);
    EXPECT_TRUE(Logged("alert \"\" \"write: 0x81010103\" \"\" buttons \"OK\""));
    EXPECT_EQ(kftest::ReadFile(host.FrameworkFolder() / "probe.txt"), "") << "opened empty, then the write failed";

    EXPECT_TRUE(host.Run("fail create \"*probe*\" 0x81010102\nmenu 32500 7\n"));
    EXPECT_TRUE(Logged("alert \"\" \"write: 0x81010102\" \"\" buttons \"OK\""));
    host.Menu(32500, 7);
    EXPECT_EQ(kftest::ReadFile(host.FrameworkFolder() / "probe.txt"), "hello") << "a fault is used up";
}

TEST_F(InProcess, LaunchesAreRecordedNotRun)
{
    ASSERT_TRUE(Load().Loaded());
    host.Menu(32500, 8);
    ASSERT_EQ(host.Launched().size(), 1u);
    EXPECT_EQ(host.Launched()[0], (std::vector<std::string>{"xdg-open", host.BundlePath("ProbeA").string()}));
    EXPECT_TRUE(host.Run("expect launched \"xdg-open\"\n"));
    EXPECT_FALSE(host.Run("expect launched \"firefox\"\n"));
}

TEST_F(InProcess, StringsComeFromTheCurrentResourceModuleOnly)
{
    ASSERT_TRUE(Load().Loaded());
    host.Menu(32500, 9);
    EXPECT_TRUE(Logged("alert \"\" \"without: missing, with: found\" \"\" buttons \"OK\""));
    EXPECT_EQ(host.Host().CurrentResModule(), 0) << "switched back after each use";
    Base::UniString s;
    EXPECT_FALSE(HostAPI_Resource_GetLocUStr(&s, 32610, 2));
    const HostResModule previous = HostAPI_UseOwnResModule();
    EXPECT_TRUE(HostAPI_Resource_GetLocUStr(&s, 32610, 2));
    EXPECT_EQ(s.ToUTF8(), "Alpha");
    char fix[4];
    EXPECT_TRUE(HostAPI_Resource_GetFixStr(fix, sizeof fix, 32610, 5));
    EXPECT_STREQ(fix, "Pro");
    HostAPI_ResetResModule(previous);
    EXPECT_EQ(host.Host().CurrentResModule(), previous);
}

TEST_F(InProcess, MenuItemFlagsAndModuleCommands)
{
    ASSERT_TRUE(Load().Loaded());
    API_MenuItemRef ref;
    ref.menuResID = 32500;
    ref.itemIndex = 11;
    HostFlags flags = 0;
    ASSERT_EQ(HostAPI_Interface(HostOp_GetMenuItemFlags, &ref, &flags), NoError);
    EXPECT_EQ(flags, API_MenuItemDisabled);
    flags |= API_MenuItemChecked;
    ASSERT_EQ(HostAPI_Interface(HostOp_SetMenuItemFlags, &ref, &flags), NoError);
    flags = 0;
    HostAPI_Interface(HostOp_GetMenuItemFlags, &ref, &flags);
    EXPECT_EQ(flags, API_MenuItemDisabled | API_MenuItemChecked);
    ref.menuResID = 32501; // handled but never registered
    EXPECT_EQ(HostAPI_Interface(HostOp_GetMenuItemFlags, &ref, &flags), APIERR_BADID);

    char result[16] = {};
    EXPECT_EQ(host.Command(kPRBE, 1, {}, nullptr, result), 0);
    EXPECT_STREQ(result, "pong");
    EXPECT_EQ(probe::Get().commandCalls, 1);
    EXPECT_TRUE(host.Run("command \"PRBE\" 1\ncommand \"PRBE\" 1 0x50524F42 1\n")) << Failures();
    EXPECT_EQ(probe::Get().commandCalls, 3);
    EXPECT_FALSE(host.Run("command \"QRT \" 0\n"));
    EXPECT_NE(host.Failures().back().find("no loaded add-on serves the command \"QRT \" version 0"), std::string::npos);
}

class InProcessMacRoman : public InProcess {
protected:
    static kfhost::HostConfig Config()
    {
        kfhost::HostConfig config;
        config.textEncoding = KF_TEXTENC_MACROMAN;
        return config;
    }
    InProcessMacRoman() : InProcess(Config()) {}
};

TEST_F(InProcessMacRoman, TheHostsTextEncodingBecomesTheApplications)
{
    host.AddResourceText("strings 32000\n  1 \"\xC3\xBC"
                         "ber\"\nend\n");
    ASSERT_TRUE(Load().Loaded());
    EXPECT_EQ(Base::GetApplicationTextEncoding(), Base::AppTextEncoding::MacRoman);
    const HostResModule previous = HostAPI_UseOwnResModule();
    char fix[16];
    ASSERT_TRUE(HostAPI_Resource_GetFixStr(fix, sizeof fix, 32000, 1));
    HostAPI_ResetResModule(previous);
    EXPECT_EQ(std::string(fix), "\x9F"
                                "ber"); // ü in Mac OS Roman
    host.Unload();
    EXPECT_EQ(Base::GetApplicationTextEncoding(), Base::AppTextEncoding::UTF8) << "back to the default without a host";
}

} // namespace
