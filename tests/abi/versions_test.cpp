// The compatibility policy, proven with add-ons built in C against frozen copies of older and
// newer table headers: older minors run, newer minors run when they need nothing this host lacks,
// other majors and bundles of the first table's format are refused with what to do about it.
#include "kfhost/Host.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

namespace fs = std::filesystem;

const fs::path kAbiAddOns = KF_ABI_ADDONS;

TEST(Versions, EachBundleMeetsThePolicy)
{
    struct Case {
        const char* bundle;
        std::vector<std::string> lines; // in the transcript once loaded; empty: refused
        std::string refusal;
    };
    const Case cases[] = {
        {"Older", {"\"Older\": built against 2.0, running in host table 2.1"}, {}},
        {"NewerOptional",
         {"\"NewerOptional\": built against 2.2, running in host table 2.1",
          "\"NewerOptional\": GetHostLanguage: absent, done without"},
         {}},
        {"NewerRequired",
         {},
         "it was built against host table 2.2 and needs GetHostLanguage, which this host's table 2.1 does not have"},
        {"OtherMajor",
         {},
         "it was built for host table 3.0, and this host offers table 2.1, of another major version: rebuild it "
         "against this host's sdk"},
    };
    kftest::TempFolder temp;
    kfhost::HostConfig config;
    config.frameworkFolder = temp.Path() / "fw";
    kfhost::Host host(config);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bundle);
        const kfhost::LoadResult result = host.LoadBundle(kAbiAddOns / (std::string(c.bundle) + ".bundle"));
        EXPECT_EQ(result.Loaded(), c.refusal.empty()) << result.reason;
        EXPECT_EQ(result.reason, c.refusal);
        const auto& lines = host.Log().Lines();
        for (const auto& line : c.lines)
            EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line << "\n" << host.Log().Text();
    }
    EXPECT_EQ(host.AddOns().size(), 2u);
    host.UnloadAll();
    EXPECT_EQ(host.Log().Lines().back(), "\"Older\": freed");
}

} // namespace
