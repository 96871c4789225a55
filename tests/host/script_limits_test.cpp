// A script number at either end of its verb's range is taken: only what lies beyond is refused.
#include "Probe.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

TEST(ScriptNumbers, BothEndsOfEveryRangeAreTaken)
{
    const char* const lines[] = {
        "menu -32768 2147483647",      "menu 32767 -2147483648",          "click 32767",
        "select -32768 -32768",        "command \"PRBE\" 1 4294967295 0", "fail open \"*\" 4294967295",
        "fail open \"*\" -2147483648", "expect row 3 1 \"x\" 32767",
    };
    for (const char* line : lines) {
        SCOPED_TRACE(line);
        probe::Get() = probe::State{};
        kftest::InProcessHost host;
        host.AddResourceFolder(std::filesystem::path(KF_PROBE_RESOURCES) / "common");
        host.AddResourceFolder(std::filesystem::path(KF_PROBE_RESOURCES) / "a");
        ASSERT_TRUE(host.Load(kftest::LinkedEntryPoints(), "ProbeA").Loaded());
        host.Run(line); // may fail for what the probe lacks, never for the number
        EXPECT_EQ(host.FailureText().find("out of range"), std::string::npos) << host.FailureText();
    }
}
