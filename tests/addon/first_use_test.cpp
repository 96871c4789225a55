// The first-use language question: asked once per run of the host, only when none is stored.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

namespace kftest {
namespace {

const std::string kQuestion = "dialog 32734 title";

TEST(FirstUse, AcceptingThePreselectedEnglishStoresItAndIsNotAskedAgain)
{
    Workspace w;
    const HostRun run =
        w.Run({kForge}, w.WriteScript({"menu 32501 1", "expect dialog 32734", "click 1", "expect dialog 32500",
                                       "click 2", "menu 32501 1", "expect dialog 32500", "click 2"}));
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 1) << "asked once in the run:\n" << run.transcript;
    EXPECT_EQ(ReadSettingsFile(SharedStore(w)), (SettingsEntries{{"Language_str", "int"}}));

    // A new run of the host remembers.
    const HostRun again = w.Run({kForge}, w.WriteScript({"menu 32501 1", "expect dialog 32500", "click 2"}));
    EXPECT_EQ(again.status, 0) << again.transcript;
    EXPECT_EQ(Count(again.transcript, kQuestion), 0) << again.transcript;
}

// Each script checks what the user sees; here, how often the question came and what was stored.
TEST(FirstUse, AskedOnlyWhenNoLanguageIsStoredAndNeverByAModuleCommand)
{
    struct Case {
        const char* script;
        const char* stored; // before the run, left as it is; "" for none
        int questions;
        const char* after; // stored after the run
    };
    const Case cases[] = {
        {"first-use-cancelled.kfs", "", 1, ""}, // English kept, nothing stored, not asked again
        {"stored-language.kfs", "ger", 0, "ger"},
        {"other-item.kfs", "", 1, "spa"},  // another item asks but shows nothing
        {"module-command.kfs", "", 1, ""}, // the question waits for the first menu command
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        Workspace w;
        fs::path bundle = kForge;
        if (std::string(c.script) == "other-item.kfs") {
            // The product's menu has one item; a copy gets a second one to reach the other-item path.
            bundle = w.CopyBundle(kForge);
            std::string menus = ReadFile(bundle / "Resources" / "menus.res");
            const std::string item = "  \"About Orvella Forge...\"\n";
            ASSERT_NE(menus.find(item), std::string::npos);
            WriteFile(bundle / "Resources" / "menus.res",
                      menus.replace(menus.find(item), item.size(), item + "  \"Second item\"\n"));
        }
        if (*c.stored)
            StoreLanguage(w, c.stored);
        const std::string before = *c.stored ? ReadFile(SharedStore(w)) : "";
        const HostRun run = w.Run({bundle}, c.script);
        EXPECT_EQ(run.status, 0) << run.transcript;
        EXPECT_EQ(Count(run.transcript, kQuestion), c.questions) << run.transcript;
        EXPECT_EQ(StoredLanguage(w), c.after);
        if (*c.stored)
            EXPECT_EQ(ReadFile(SharedStore(w)), before);
    }
}

} // namespace
} // namespace kftest
