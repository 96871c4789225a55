// The probe add-on linked into the test program and driven through an in-process host: the load
// sequence, menus, module commands, dialogs of every kind, alerts, system dialogs, timers, files,
// and the script that drives them.
#include "HostAPI.hpp"
#include "HostTextEncoding.hpp"
#include "Probe.hpp"
#include "kfsdk/HostLink.hpp"
#include "kftest/Files.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

namespace {

namespace fs = std::filesystem;
const fs::path kProbe = KF_PROBE_RESOURCES;
constexpr std::uint32_t kPRBE = 0x50524245u;

// The probe in an in-process host, loaded unless told otherwise: "menu 32500 1" opens its modal dialog
// 32600, which the lines after it work in until "click 2" (Cancel) closes it.
struct Probed {
    explicit Probed(bool load = true, kfhost::HostConfig config = {}) : host(std::move(config))
    {
        probe::Get() = probe::State{};
        host.AddResourceFolder(kProbe / "common");
        host.AddResourceFolder(kProbe / "a");
        loaded = load && Load().Loaded();
    }
    kfhost::LoadResult Load() { return host.Load(kftest::LinkedEntryPoints(), "ProbeA"); }
    bool Logged(const std::string& line) const
    {
        const auto& lines = host.Transcript();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    std::string Failures() const { return host.FailureText(); }

    kftest::InProcessHost host;
    bool loaded = false;
};

class InProcess : public ::testing::Test, protected Probed {
protected:
    explicit InProcess(kfhost::HostConfig config = {}) : Probed(false, std::move(config)) {}
};

TEST_F(InProcess, LoadSequenceHandsOverTheTableAndUnloadFreesIt)
{
    // Before the table, the wrappers answer neutrally and reach no add-on code.
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
    for (bool description : {false, true}) {
        std::size_t const max = description ? KF_ENVIR_DESCRIPTION_MAX : KF_ENVIR_NAME_MAX;
        for (const std::size_t length : {max - 1, max, max + 1}) {
            std::string text;
            for (std::size_t i = 0; i < length; ++i)
                text += char('a' + i % 26);
            probe::Get() = probe::State{};
            (description ? probe::Get().description : probe::Get().name) = text;
            const auto result = Load();
            ASSERT_TRUE(result.Loaded()) << result.reason;
            EXPECT_EQ(description ? result.addOn->description : result.addOn->name, text.substr(0, max)) << length;
            host.Unload();
        }
    }
}

TEST_F(InProcess, ModalDialogRunsOnTheScriptAndShowsItsState)
{
    ASSERT_TRUE(Load().Loaded());
    // Each check is played on its own in the script's tables below; here, the transcript.
    host.Queue(R"(select 3 3
expect text 4 "Gamma"
click 6
expect visible 5
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

TEST_F(InProcess, SystemDialogsTakeTheScriptsAnswers)
{
    ASSERT_TRUE(Load().Loaded());
    host.Queue("answer folder \"/tmp/chosen folder\"\n");
    host.Menu(32500, 4);
    EXPECT_TRUE(Logged("folder dialog \"Pick a folder\" -> \"/tmp/chosen folder\""));
    EXPECT_TRUE(host.ScriptOk()) << Failures();

    host.Menu(32500, 4); // no answer given
    ASSERT_EQ(host.Failures().size(), 1u);
    EXPECT_NE(host.Failures()[0].find("folder dialog is waiting for an answer"), std::string::npos);
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

    EXPECT_TRUE(host.Run("fail any \"*probe*\" 0x81010102\nmenu 32500 7\n"));
    EXPECT_TRUE(Logged("alert \"\" \"write: 0x81010102\" \"\" buttons \"OK\""));
    host.Menu(32500, 7);
    EXPECT_EQ(kftest::ReadFile(host.FrameworkFolder() / "probe.txt"), "hello") << "a fault is used up";
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

// The script's checks and its number ranges: every check fails when it should, with the words it
// prints, and holds when it should; strict runs fail on what a script leaves unsaid.
struct ExpectCase {
    const char* before;  // lines run first (line 1 on)
    const char* failing; // the next line: fails with `says`
    const char* says;
    const char* holding; // the line after: holds
    std::vector<std::vector<std::string>> launches = {};
};

TEST(ScriptExpect, EveryCheckFailsWithWhatWasThereAndHoldsOtherwise)
{
    const ExpectCase cases[] = {
        {"menu 32500 1", "expect dialog 32601", "dialog 32600 is open", "expect dialog 32600"},
        {"", "expect dialog 32600", "no dialog is open", "expect no-dialog"},
        {"menu 32500 1", "expect no-dialog", "dialog 32600 is open", "expect dialog 32600"},
        {"menu 32500 1", "expect title \"Probe\"", "the title is \"Probe dialog\"", "expect title \"Probe dialog\""},
        {"menu 32500 1", "expect text 4 \"Beta\"", "item 4 shows \"Alpha\"", "expect text 4 \"Alpha\""},
        {"menu 32500 1", "expect text 99 \"x\"", "dialog 32600 has no item 99", "expect text 2 \"Cancel\""},
        {"menu 32500 1", "expect visible 5", "item 5 is hidden", "expect hidden 5"},
        {"menu 32500 1", "expect hidden 1", "item 1 is visible", "expect visible 1"},
        {"menu 32500 1", "expect disabled 1", "item 1 is enabled", "expect enabled 1"},
        {"menu 32500 1\nselect 3 3", "expect enabled 1", "item 1 is disabled", "expect disabled 1"},
        {"menu 32500 1", "expect checked 6", "item 6 is unchecked", "expect unchecked 6"},
        {"menu 32500 1\nclick 6", "expect unchecked 6", "item 6 is checked", "expect checked 6"},
        {"menu 32500 1", "expect selected 3 2", "row 1 is selected", "expect selected 3 1"},
        {"menu 32500 1", "expect rows 3 4", "item 3 has 3 rows", "expect rows 3 3"},
        {"menu 32500 1", "expect row 3 2 \"Gamma\" 1", "row 2 shows \"Beta\"", "expect row 3 3 \"Gamma\" 1"},
        {"menu 32500 1", "expect row 3 4 \"Gamma\" 1", "item 3 has 3 rows", "expect row 3 1 \"tab\" 2"},
        {"", "expect alert \"Probe alert text\"", "no alert was shown", "expect no-alert"},
        {"menu 32500 3", "expect alert \"Other\"", "the alert says \"Probe alert text\"", "expect no-alert"},
        {"menu 32500 3", "expect no-alert", "an alert says \"Probe alert text\"", "expect alert \"Probe alert text\""},
        // Each alert is checked once, in the order shown.
        {"menu 32500 3\nexpect alert \"Probe alert text\"", "expect alert \"Probe alert text\"", "no alert was shown",
         "expect no-alert"},
        {"", "expect launched \"xdg-open\"", "nothing was launched", "expect no-dialog"},
        {"",
         "expect launched \"first\"",
         "the last launch was \"b\" \"second\"",
         "expect launched \"second\"",
         {{"a", "first"}, {"b", "second"}}},
    };
    for (const ExpectCase& c : cases) {
        SCOPED_TRACE(c.failing);
        Probed p;
        ASSERT_TRUE(p.loaded);
        for (const auto& argv : c.launches)
            p.host.Host().Spawn(argv);
        const std::string before = c.before;
        const bool inDialog = before.rfind("menu 32500 1", 0) == 0;
        const std::string script =
            before + (before.empty() ? "" : "\n") + c.failing + "\n" + c.holding + (inDialog ? "\nclick 2\n" : "\n");
        EXPECT_FALSE(p.host.Run(script));
        const int line = before.empty() ? 1 : int(std::count(before.begin(), before.end(), '\n')) + 2;
        EXPECT_EQ(p.Failures(), "script:" + std::to_string(line) + ": " + c.failing + ": " + c.says + "\n");
    }
}

TEST(ScriptNumbers, OutOfRangeIsAnErrorAtItsColumnNeverCutShort)
{
    const std::pair<const char*, const char*> cases[] = {
        {"menu 98037 1", "column 6: 98037 is out of range for a menu resource number (-32768 to 32767)"},
        {"menu 32500 4294967297",
         "column 12: 4294967297 is out of range for an item index (-2147483648 to 2147483647)"},
        {"click 65538", "column 7: 65538 is out of range for an item number (-32768 to 32767)"},
        {"select 3 -32769", "column 10: -32769 is out of range for a row number (-32768 to 32767)"},
        {"command \"PRBE\" 1 4294967296 1",
         "column 18: 4294967296 is out of range for a developer id (0 to 4294967295)"},
        {"fail open \"*\" 0x100000000",
         "column 15: 0x100000000 is out of range for a host error code (-2147483648 to 4294967295)"},
        {"expect row 3 1 \"x\" 40000", "column 20: 40000 is out of range for a tab field (-32768 to 32767)"},
    };
    for (const auto& [line, says] : cases) {
        SCOPED_TRACE(line);
        Probed p;
        EXPECT_FALSE(p.host.Run(line));
        EXPECT_EQ(p.Failures(), std::string("script:1: ") + line + ": " + says + "\n");
        for (const std::string& logged : p.host.Transcript())
            EXPECT_NE(logged.rfind("> ", 0), 0u) << "nothing ran: " << logged;
    }
}

struct StrictCase {
    const char* script;
    std::vector<std::string> failures; // strict only; the plain run passes
};

TEST(ScriptStrict, WhatTheScriptLeavesUnsaidFailsOnlyWhenStrict)
{
    const StrictCase cases[] = {
        {"", {"end of script: the script runs no command"}},
        {"# only a comment\n", {"end of script: the script runs no command"}},
        {"menu 32500 3",
         {"end of script: no expect line ran", "end of script: the alert \"Probe alert text\" was never checked"}},
        {"answer folder \"/tmp\"\nexpect no-dialog",
         {"script:1: answer folder \"/tmp\": no file or folder dialog took this answer"}},
        {"fail open \"/nowhere/*\" 0x81060003\nexpect no-dialog",
         {"end of script: no file operation met script:1: fail open \"/nowhere/*\" 0x81060003"}},
        {"menu 32500 9\nexpect alert \"without: missing, with: found\"",
         {"end of script: host warning: string list 32610 index 5: no resource module is current"}},
        {"menu 32500 4\nanswer folder \"/tmp\"\nexpect alert \"folder: /tmp\"", {}},
    };
    for (const StrictCase& c : cases) {
        SCOPED_TRACE(c.script);
        for (const bool strict : {false, true}) {
            Probed p;
            ASSERT_TRUE(p.loaded);
            p.host.Script().SetStrict(strict);
            EXPECT_TRUE(p.host.Run(c.script)) << p.Failures();
            EXPECT_EQ(p.host.Script().Finish(), !strict || c.failures.empty());
            EXPECT_EQ(p.host.Failures(), strict ? c.failures : std::vector<std::string>{});
        }
    }
}

TEST(ScriptRunner, WithoutOneTheHostClosesModalDialogsAsTheirCloseBoxWould)
{
    Probed p;
    ASSERT_TRUE(p.loaded);
    {
        kfhost::ScriptRunner passing(p.host.Host());
    } // takes the dialogs over, then lets go
    p.host.ClearTranscript();
    EXPECT_EQ(p.host.Menu(32500, 1), 0);
    EXPECT_EQ(probe::Get().lastModalResult, 2) << "closed with its cancel item";
    EXPECT_EQ(p.host.CurrentDialog(), nullptr);
    EXPECT_EQ(p.host.TranscriptText(), "") << "nobody shows it";
}

TEST(ScriptReload, NotInsideAnAddOnsCall)
{
    Probed p;
    ASSERT_TRUE(p.loaded);
    EXPECT_FALSE(p.host.Run("menu 32500 1\nreload\nclick 2"));
    EXPECT_EQ(p.Failures(), "script:2: reload: cannot reload while \"Host Probe\" is in menu handler 32500 item 1: "
                            "close its dialog first\n");
}

// Lines typed at a terminal, as a test gives them.
struct Typed final : kfhost::LineSource {
    std::deque<std::string> lines;
    int number = 0;
    std::optional<kfhost::ScriptLine> Next() override
    {
        if (lines.empty())
            return std::nullopt;
        kfhost::ScriptLine line{"-", ++number, lines.front()};
        lines.pop_front();
        return line;
    }
    bool Interactive() const override { return true; }
};

TEST(ScriptReload, ABundleThatDoesNotLoadAgainEndsAWrittenScriptButNotATypedOne)
{
    kftest::TempFolder temp;
    const fs::path bundle = temp.Path() / "ProbeA.bundle";
    fs::copy(fs::path(KF_TEST_ADDONS) / "ProbeA.bundle", bundle, fs::copy_options::recursive);
    for (const bool typed : {false, true}) {
        SCOPED_TRACE(typed ? "typed" : "written");
        kfhost::HostConfig config;
        config.frameworkFolder = temp.Path() / "fw";
        kfhost::Host host(config);
        kfhost::ScriptRunner runner(host);
        ASSERT_TRUE(host.LoadBundle(bundle).Loaded());
        const std::string library = kftest::ReadFile(bundle / "ProbeA.so");
        fs::remove(bundle / "ProbeA.so"); // a rebuild that failed
        Typed input;
        if (typed) {
            input.lines = {"reload", "print"};
            runner.SetSource(&input);
        } else {
            runner.Append("reload\nprint\n", "s.kfs");
        }
        EXPECT_FALSE(runner.RunAll());
        const std::string where = typed ? "-:1" : "s.kfs:1";
        std::vector<std::string> failures{where + ": reload: cannot load " + bundle.string() +
                                          " again: no shared library ProbeA.so in the bundle"};
        if (!typed)
            failures.push_back(where + ": reload: the rest of the script is skipped");
        EXPECT_EQ(runner.Failures(), failures);
        const auto& lines = host.Log().Lines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "no dialog"), typed ? 1 : 0) << "print ran";
        kftest::WriteFile(bundle / "ProbeA.so", library);
    }
}

} // namespace
