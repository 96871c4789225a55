// The compatibility policy, proven with add-ons built in C against frozen copies of older table
// headers, today's, and the next minor's: older minors run, newer minors run when they need nothing
// this host lacks, other majors are refused with what to do about it. At the edge: an add-on that
// needs the table up to this host's last entry loads, one that needs the entry after it does not.
#include "kfhost/Host.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

namespace fs = std::filesystem;

const fs::path kAbiAddOns = KF_ABI_ADDONS;

TEST(Versions, EachBundleMeetsThePolicy)
{
    const std::string host = std::to_string(KF_HOST_TABLE_MAJOR) + "." + std::to_string(KF_HOST_TABLE_MINOR);
    const std::string next = std::to_string(KF_HOST_TABLE_MAJOR) + "." + std::to_string(KF_HOST_TABLE_MINOR + 1);
    struct Case {
        const char* bundle;
        std::vector<std::string> lines; // in the transcript once loaded; empty: refused
        std::string refusal;
    };
    const Case cases[] = {
        {"Older", {"\"Older\": built against 2.0, running in host table " + host}, {}},
        {"Previous", {"\"Previous\": built against 2.1, running in host table " + host}, {}},
        {"RequiresLast", {"\"RequiresLast\": built against " + host + ", running in host table " + host}, {}},
        {"NewerOptional",
         {"\"NewerOptional\": built against " + next + ", running in host table " + host,
          "\"NewerOptional\": GetHostLanguage: absent, done without"},
         {}},
        {"NewerRequired",
         {},
         "it was built against host table " + next + " and needs GetHostLanguage, which this host's table " + host +
             " does not have"},
        {"OtherMajor",
         {},
         "it was built for host table 3.0, and this host offers table " + host +
             ", of another major version: rebuild it against this host's sdk"},
    };
    kftest::TempFolder temp;
    kfhost::HostConfig config;
    config.frameworkFolder = temp.Path() / "fw";
    kfhost::Host kfhost(config);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bundle);
        const kfhost::LoadResult result = kfhost.LoadBundle(kAbiAddOns / (std::string(c.bundle) + ".bundle"));
        EXPECT_EQ(result.Loaded(), c.refusal.empty()) << result.reason;
        EXPECT_EQ(result.reason, c.refusal);
        const auto& lines = kfhost.Log().Lines();
        for (const auto& line : c.lines)
            EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line << "\n" << kfhost.Log().Text();
    }
    EXPECT_EQ(kfhost.AddOns().size(), 4u);
    kfhost.UnloadAll();
    EXPECT_EQ(kfhost.Log().Lines().back(), "\"Older\": freed");
}

} // namespace
