// The main dialog's texts in every language, the language button, and the fall-backs for
// missing strings; the framework's strings the add-on shows exist in every language.
#include "AddOnHarness.hpp"

#include <gtest/gtest.h>

#include <set>

namespace kftest {
namespace {

// Item -> string index of the add-on's own list.
const std::vector<std::pair<int, int>> kItemStrings = {{2, 2}, {12, 17}, {3, 5}, {4, 6},
                                                       {5, 7}, {6, 8},   {7, 9}, {8, 10}};

std::string Expect(int item, const std::string& text)
{
    return "expect text " + std::to_string(item) + " \"" + text + "\"";
}

TEST(MainDialog, ShowsEachLanguagesOwnTextsAndTheFixedVersionLabel)
{
    std::set<std::string> explanations; // translated, not copied: they differ between any two languages
    for (int language = 0; language < 7; ++language) {
        SCOPED_TRACE(kSuffixes[size_t(language)]);
        Workspace w;
        StoreLanguage(w, kSuffixes[size_t(language)]);
        std::vector<std::string> lines = {"menu 32501 1", "expect dialog 32500", "expect title \"Orvella Forge\""};
        for (const auto& [item, index] : kItemStrings) {
            const std::string text = BundleString(kForge, 32530 + language, index);
            ASSERT_FALSE(text.empty()) << "string " << index << " of " << 32530 + language;
            lines.push_back(Expect(item, text));
            if (index >= 5 && index <= 7)
                explanations.insert(text);
        }
        lines.push_back(Expect(9, "1.1.1.2001"));
        lines.push_back("click 2");
        const HostRun run = w.Run({kForge}, w.WriteScript(lines));
        EXPECT_EQ(run.status, 0) << run.transcript;
    }
    EXPECT_EQ(explanations.size(), 21u);
}

TEST(MainDialog, EveryFrameworkStringItUsesExistsInEveryLanguage)
{
    const int framework[] = {5, 13, 33, 34, 35, 37, 64, 65, 79, 80, 81, 82, 83, 84, 85};
    for (int language = 0; language < 7; ++language) {
        for (int index : framework)
            EXPECT_FALSE(BundleString(kForge, 32710 + language, index).empty()) << 32710 + language << "/" << index;
        EXPECT_NE(BundleString(kForge, 32710 + language, 80).find("ADDONNAME"), std::string::npos);
        EXPECT_NE(BundleString(kForge, 32710 + language, 81).find("ADDONNAME"), std::string::npos);
        EXPECT_NE(BundleString(kForge, 32710 + language, 82).find("ADDONLIBNAME"), std::string::npos);
        EXPECT_NE(BundleString(kForge, 32710 + language, 83).find("ADDONLIBNAME"), std::string::npos);
    }
}

TEST(MainDialog, LanguageButtonReopensInTheChosenLanguage)
{
    Workspace w;
    StoreLanguage(w, "ita");
    const HostRun run = w.Run({kForge}, "language-button.kfs");
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, "dialog 32500 title"), 3) << run.transcript;
    EXPECT_EQ(StoredLanguage(w), "jap");
}

// The failed lookups are the point: the runs are not strict.
TEST(MainDialog, MissingStringsFallBackAndAMissingDialogEndsTheCommand)
{
    Workspace w;
    w.strict = false;
    const fs::path bundle = w.CopyBundle(kForge);
    RemoveString(bundle, 32533, 7); // German only: English is shown
    RemoveString(bundle, 32533, 8); // German and English: the marker
    RemoveString(bundle, 32531, 8);
    ASSERT_EQ(BundleString(bundle, 32533, 7), "");
    StoreLanguage(w, "ger");
    const HostRun run =
        w.Run({bundle}, w.WriteScript({"menu 32501 1", "expect dialog 32500", Expect(3, BundleString(bundle, 32533, 5)),
                                       Expect(5, BundleString(bundle, 32531, 7)), Expect(6, "_ERR_NO_"), "click 2"}));
    EXPECT_EQ(run.status, 0) << run.transcript;
    EXPECT_EQ(Count(run.transcript, "warning: string list 32533 index 8: not in the resources of \"Orvella Forge\""), 2)
        << "the host names every failed lookup";

    // Without its dialog resource the command ends instead of asking forever.
    const fs::path dialogs = bundle / "Resources" / "dialogs.res";
    std::string text = ReadFile(dialogs);
    const std::size_t from = text.find("dialog 32500 ");
    ASSERT_NE(from, std::string::npos);
    WriteFile(dialogs, text.erase(from, text.find("end\n", from) + 4 - from));
    const HostRun without = w.Run({bundle}, w.WriteScript({"menu 32501 1", "expect no-dialog"}));
    EXPECT_EQ(without.status, 0) << without.transcript;
    EXPECT_EQ(Count(without.transcript, "no dialog resource 32500"), 1) << without.transcript;
}

} // namespace
} // namespace kftest
