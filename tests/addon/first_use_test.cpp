// The first-use language question: asked once per run of the host, only when none is stored.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

namespace kftest {
namespace {

const std::string kQuestion = "dialog 32734 title";

TEST(FirstUse, AsksBeforeTheMainDialogOnceAndStoresTheChoice)
{
    Workspace w;
    const HostRun run = w.Run({kForge}, "first-use-asks-once.kfs");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 1) << run.transcript;
    EXPECT_EQ(ReadSettingsFile(SharedStore(w)), (SettingsEntries{{"Language_str", "fra"}}));

    // A new run of the host remembers: no question, the dialog is French at once.
    const HostRun again =
        w.Run({kForge}, w.WriteScript({"menu 32501 1", "expect dialog 32500", "expect text 2 \"Fermer\"", "click 2"}));
    EXPECT_EQ(again.status, 0) << again.transcript;
    EXPECT_EQ(Count(again.transcript, kQuestion), 0);
}

TEST(FirstUse, AcceptingThePreselectedEnglishStoresItAndIsNotAskedAgain)
{
    Workspace w;
    const HostRun run = w.Run(
        {kForge}, w.WriteScript({"menu 32501 1", "expect dialog 32734", "click 1", "expect dialog 32500", "click 2"}));
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 1) << run.transcript;
    EXPECT_EQ(StoredLanguage(w), "int");

    const HostRun again = w.Run({kForge}, w.WriteScript({"menu 32501 1", "expect dialog 32500", "click 2"}));
    EXPECT_EQ(again.status, 0) << again.transcript;
    EXPECT_EQ(Count(again.transcript, kQuestion), 0) << again.transcript;
}

TEST(FirstUse, CancelledQuestionKeepsEnglishStoresNothingAndIsNotRepeated)
{
    Workspace w;
    const HostRun run = w.Run({kForge}, "first-use-cancelled.kfs");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 1) << run.transcript;
    EXPECT_EQ(StoredLanguage(w), "");
}

TEST(FirstUse, StoredLanguageIsUsedWithoutAskingAndLeftAsItIs)
{
    Workspace w;
    StoreLanguage(w, "ger");
    const std::string before = ReadFile(SharedStore(w));
    const HostRun run = w.Run({kForge}, "stored-language.kfs");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 0);
    EXPECT_EQ(ReadFile(SharedStore(w)), before);
}

TEST(FirstUse, OtherMenuItemAsksButShowsNothing)
{
    Workspace w;
    // The product's menu has one item; a copy gets a second one to reach the other-item path.
    const fs::path bundle = w.CopyBundle(kForge);
    const fs::path menus = bundle / "Resources" / "menus.res";
    std::string text = ReadFile(menus);
    const std::string item = "  \"About Orvella Forge...\"\n";
    ASSERT_NE(text.find(item), std::string::npos);
    text.replace(text.find(item), item.size(), item + "  \"Second item\"\n");
    WriteFile(menus, text);

    const HostRun run = w.Run({bundle}, "other-item.kfs");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 1) << run.transcript;
    EXPECT_EQ(Count(run.transcript, "dialog 32500 title"), 1) << run.transcript;
    EXPECT_EQ(StoredLanguage(w), "spa");
}

TEST(FirstUse, ModuleCommandNeverAsksAndLeavesTheQuestionToTheFirstMenu)
{
    Workspace w;
    const HostRun run = w.Run({kForge}, "module-command.kfs");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, kQuestion), 1) << run.transcript;
    EXPECT_LT(run.transcript.find("dialog 32500 title"), run.transcript.find(kQuestion));
    EXPECT_EQ(StoredLanguage(w), "");
}

} // namespace
} // namespace kftest
