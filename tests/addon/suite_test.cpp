// Two add-ons in one host: the family learns whether the suite is loaded from its "SUIT"
// command, else from the suite's file.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

namespace kftest {
namespace {

HostRun AskProbe(const Workspace& w, const std::vector<fs::path>& bundles, const std::string& alert)
{
    return w.Run(bundles, w.WriteScript({"menu 32600 1", "expect alert \"" + alert + "\""}));
}

fs::path ProbeFile(const Workspace& w)
{
    return w.Framework() / "Suite Probe_10_17.sui";
}

TEST(Suite, AnswersItsCommandBesideTheAddOn)
{
    Workspace w;
    const HostRun run = AskProbe(w, {kForge, kSuite, kProbe}, "suite loaded, answered");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(ReadSettingsFile(ProbeFile(w)), (SettingsEntries{{"Tavolo Loaded", "TRUE"}}));
    EXPECT_NE(run.transcript.find("loaded \"Tavolo\""), std::string::npos) << run.transcript;

    // Addressed by its module identifier, and by nobody else's.
    const HostRun direct =
        w.Run({kSuite}, w.WriteScript({"command \"SUIT\" 0 0x53735736 0x1BBAAC53", "expect no-alert"}));
    EXPECT_EQ(direct.status, 0) << direct.transcript;
    const HostRun wrong = w.Run({kSuite}, w.WriteScript({"command \"SUIT\" 0 0x53735736 0x4F524647"}));
    EXPECT_NE(wrong.status, 0) << wrong.transcript;
}

TEST(Suite, NotAnsweringButItsFilePresentCountsAsLoaded)
{
    Workspace w;
    WriteFile(w.Framework() / "Tavolo_HV17.sui", "");
    const HostRun run = AskProbe(w, {kForge, kProbe}, "suite loaded, not answered");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(ReadSettingsFile(ProbeFile(w)), (SettingsEntries{{"Tavolo Loaded", "TRUE"}}));
    // Orvella Forge's sweep of its own stale file leaves the suite's file alone.
    EXPECT_TRUE(fs::exists(w.Framework() / "Tavolo_HV17.sui"));
}

TEST(Suite, NeitherAnsweringNorFileMeansAbsent)
{
    Workspace w;
    WriteFile(w.Framework() / "Tavolo_HV16.sui", ""); // another host version's file does not count
    const HostRun run = AskProbe(w, {kForge, kProbe}, "suite absent, not answered");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(ReadSettingsFile(ProbeFile(w)), (SettingsEntries{{"Tavolo Loaded", "FALSE"}}));
}

} // namespace
} // namespace kftest
