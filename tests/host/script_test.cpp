// The script's checks and its number ranges, on the probe add-on linked in-process: every check
// fails when it should, with the words it prints, and holds when it should; strict runs fail on
// what a script leaves unsaid.
#include "Probe.hpp"
#include "kftest/Files.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

namespace {

namespace fs = std::filesystem;
const fs::path kProbe = KF_PROBE_RESOURCES;

// A host with the probe loaded; "menu 32500 1" opens its modal dialog 32600, which the lines after
// it work in until "click 2" (Cancel) closes it.
struct Probed {
    Probed()
    {
        probe::Get() = probe::State{};
        host.AddResourceFolder(kProbe / "common");
        host.AddResourceFolder(kProbe / "a");
        loaded = host.Load(kftest::LinkedEntryPoints(), "ProbeA").Loaded();
    }
    std::string Failures() const { return host.FailureText(); }
    kftest::InProcessHost host;
    bool loaded = false;
};

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

} // namespace

namespace {

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

} // namespace

namespace {

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
