// Two add-ons in one host: the family learns whether the suite is loaded from its "SUIT"
// command, else from the suite's file.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

namespace kftest {
namespace {

TEST(Suite, LoadedWhenItAnswersItsCommandOrElseItsFileIsThere)
{
    struct Case {
        bool suiteLoaded;
        const char* suiteFile; // written before the run; "" none
        const char* alert;
        const char* stored;
    };
    const Case cases[] = {
        {true, "", "suite loaded, answered", "TRUE"},
        {false, "Tavolo_HV17.sui", "suite loaded, not answered", "TRUE"},
        {false, "Tavolo_HV16.sui", "suite absent, not answered", "FALSE"}, // another host version's
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.alert);
        Workspace w;
        if (*c.suiteFile)
            WriteFile(w.Framework() / c.suiteFile, "");
        std::vector<fs::path> bundles = {kForge, kProbe};
        if (c.suiteLoaded)
            bundles.push_back(kSuite);
        const HostRun run =
            w.Run(bundles, w.WriteScript({"menu 32600 1", "expect alert \"" + std::string(c.alert) + "\""}));
        EXPECT_EQ(run.status, 0) << run.transcript;
        EXPECT_EQ(ReadSettingsFile(w.Framework() / "Suite Probe_10_17.sui"),
                  (SettingsEntries{{"Tavolo Loaded", c.stored}}));
        // Orvella Forge's sweep of its own stale file leaves the suite's file alone.
        if (*c.suiteFile)
            EXPECT_TRUE(fs::exists(w.Framework() / c.suiteFile));
    }
}

TEST(Suite, AnswersItsCommandByItsModuleIdentifierAndByNobodyElses)
{
    Workspace w;
    const HostRun direct =
        w.Run({kSuite}, w.WriteScript({"command \"SUIT\" 0 0x53735736 0x1BBAAC53", "expect no-alert"}));
    EXPECT_EQ(direct.status, 0) << direct.transcript;
    const HostRun wrong = w.Run({kSuite}, w.WriteScript({"command \"SUIT\" 0 0x53735736 0x4F524647"}));
    EXPECT_NE(wrong.status, 0) << wrong.transcript;
}

} // namespace
} // namespace kftest
