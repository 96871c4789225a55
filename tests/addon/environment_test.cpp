// Loading: the stale communication file goes at the environment check, whatever the host; only
// the main application gets a registered add-on.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

namespace kftest {
namespace {

const char kOwnFile17[] = "Orvella Forge_10_17.sui";

void Touch(const fs::path& file)
{
    WriteFile(file, Scrambled("$Tavolo Loaded: TRUE\n"));
}

TEST(Environment, MainApplicationRemovesOnlyItsOwnFileOfTheRunningVersion)
{
    Workspace w;
    for (const char* name : {kOwnFile17, "Orvella Forge_10_16.sui", "Tavolo_HV17.sui", "Other_10_17.sui"})
        Touch(w.Framework() / name);

    const HostRun run = w.Run({kForge}, "");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_NE(run.transcript.find("loaded \"Orvella Forge\""), std::string::npos) << run.transcript;
    EXPECT_FALSE(fs::exists(w.Framework() / kOwnFile17));
    EXPECT_TRUE(fs::exists(w.Framework() / "Orvella Forge_10_16.sui"));
    EXPECT_TRUE(fs::exists(w.Framework() / "Tavolo_HV17.sui"));
    EXPECT_TRUE(fs::exists(w.Framework() / "Other_10_17.sui"));

    // The version comes from the host: release 16 removes the other one.
    const HostRun sixteen = w.Run({kForge}, "", {"--release", "16"});
    EXPECT_EQ(sixteen.status, 0) << sixteen.transcript;
    EXPECT_FALSE(fs::exists(w.Framework() / "Orvella Forge_10_16.sui"));
}

TEST(Environment, ServerApplicationGetsNothingButTheStaleFileIsGone)
{
    Workspace w;
    Touch(w.Framework() / kOwnFile17);
    const HostRun run = w.Run({kForge}, w.WriteScript({"menu 32501 1"}), {"--server-app", "1"});
    // Refused (the host's own test: Bundles.AnAddOnThatDoesNotRegisterInThisHostIsNotLoaded).
    EXPECT_NE(run.transcript.find("environment check answered 0"), std::string::npos) << run.transcript;
    EXPECT_FALSE(fs::exists(w.Framework() / kOwnFile17));
    EXPECT_FALSE(fs::exists(SharedStore(w)));
}

} // namespace
} // namespace kftest
