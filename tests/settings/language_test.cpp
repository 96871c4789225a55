// The language choice through the store on disk, localized strings with their fall-backs, and
// the language dialog driven through the headless dialog manager.
#include "SettingsTestSupport.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"

#include <cstring>

using namespace kftest;

namespace {

// German lacks string 65 and Spanish has no strings, so that the fall-backs show.
constexpr char kResources[] = R"(
dialog 32734 "Resource title" size 400 200 cancel 2
  1 button 300 160 90 28 ""
  2 button 200 160 90 28 ""
  3 list   10  10  180 150
  4 static 300 10  90  20  "Test"
  5 static 300 40  90  20  ""
  6 static 200 100 190 40  ""
end
strings 32711
  5 "Cancel"
  64 "OK"
  65 "Choose"
end
strings 32712
  5 "Annuler"
  64 "D'accord"
  65 "Choisissez"
end
strings 32713
  5 "Abbrechen"
end
strings 32710
  5 "Annulla"
end
strings 32716
  5 "Otmena"
end
strings 32531
  1 "International one"
end
strings 32532
  2 "Deux"
end
)";

class Language : public HostedStores {
protected:
    void SetUp() override
    {
        host.AddResourceText(kResources);
        HostedStores::SetUp();
        std::memcpy(saved_, sett_ADDON_SUPP_EXTRA_LANGUAGES, sizeof saved_);
        gKF_Language = KF_Language_Int;
    }
    void TearDown() override
    {
        std::memcpy(sett_ADDON_SUPP_EXTRA_LANGUAGES, saved_, sizeof saved_);
        sett_ADDON_SHOWED_LANGUAGES[0] = '\0';
        gKF_Language = KF_Language_Int;
        HostedStores::TearDown();
    }
    short ReadWith(const std::string& plain, bool expectFound = true)
    {
        WritePlain(SharedFile(), plain);
        EXPECT_EQ(KF_Language_Read(true), expectFound) << plain;
        return gKF_Language;
    }
    // Runs the dialog on script lines; every line must be used and every expectation hold.
    bool Dialog(const std::string& lines)
    {
        host.Queue(lines);
        const bool accepted = KF_Dlg_Language(S("Version: test"));
        EXPECT_EQ(host.PendingLines(), 0u);
        EXPECT_TRUE(host.ScriptOk()) << ::testing::PrintToString(host.Failures());
        return accepted;
    }

private:
    char saved_[64] = {};
};

} // namespace

TEST_F(Language, StoredChoiceIsReadByRule)
{
    EXPECT_EQ(ReadWith("$Language_str: FRA\n"), KF_Language_Fra);
    EXPECT_EQ(ReadWith("$Language_str: xyz\n"), KF_Language_Int);
    EXPECT_EQ(ReadWith("$Language: 3\n$Language_str: spa\n"), KF_Language_Spa);
    EXPECT_EQ(ReadWith("$Language_str: jap\n"), KF_Language_Jap);
    EXPECT_EQ(ReadWith("$Other: 1\n", false), KF_Language_Int);
    EXPECT_FALSE(KF_Language_Exists());
    // The older numeric key: 6 and above (and, for safety, below 0) mean "int".
    for (const auto& [text, language] : {std::pair{"3", 3}, {"5", 5}, {"6", 1}, {"9", 1}, {"abc", 1}, {"-2", 1}}) {
        EXPECT_EQ(ReadWith(std::string("$Language: ") + text + "\n"), language) << text;
    }
    EXPECT_TRUE(KF_Language_Exists());
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language: -2\n"); // reading never rewrites it
    // Another add-on changes the choice: seen only when the store is read again.
    EXPECT_EQ(ReadWith("$Language_str: ita\n"), KF_Language_Ita);
    WritePlain(SharedFile(), "$Language_str: ger\n");
    EXPECT_TRUE(KF_Language_Read(false));
    EXPECT_EQ(gKF_Language, KF_Language_Ita);
    EXPECT_TRUE(KF_Language_Read(true));
    EXPECT_EQ(gKF_Language, KF_Language_Ger);
}

TEST_F(Language, UnsupportedExtraLanguageIsKeptInTheStoreButNotUsed)
{
    std::strcpy(sett_ADDON_SUPP_EXTRA_LANGUAGES, "RUS");
    EXPECT_EQ(ReadWith("$Language_str: jap\n"), KF_Language_Int);
    EXPECT_EQ(ReadWith("$Language_str: rus\n"), KF_Language_Rus);
    gKF_Language = KF_Language_Jap;
    KF_Language_Write();
    EXPECT_EQ(gKF_Language, KF_Language_Int);
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: jap\n");
}

TEST_F(Language, StringsFallBackToInternationalThenToAMarker)
{
    const auto get = [](short base, long index, bool addOn = true) {
        return Utf8(KF_Resource_GetString(short(base + gKF_Language), index, addOn));
    };
    host.Host().SetCurrentResModule(0); // the lookups switch to the add-on's own module and back
    gKF_Language = KF_Language_Ger;
    EXPECT_EQ(get(KF_Resource_FrameworkStrings, 5), "Abbrechen");
    EXPECT_EQ(get(KF_Resource_FrameworkStrings, 65), "Choose");
    EXPECT_EQ(get(KF_Resource_FrameworkStrings, 99), "_ERR_NO_");
    gKF_Language = KF_Language_Fra;
    EXPECT_EQ(get(KF_Resource_AddOnStrings, 2), "Deux");
    EXPECT_EQ(get(KF_Resource_AddOnStrings, 1), "International one");
    EXPECT_EQ(get(KF_Resource_AddOnStrings, 3), "_ERR_NO_");
    EXPECT_EQ(get(KF_Resource_AddOnStrings, 2, false), "_ERR_DPT_");
    EXPECT_EQ(host.Host().CurrentResModule(), 0);
}

TEST_F(Language, DialogShowsEveryLanguageAndPreviewsAllButTheAcceptButton)
{
    ReadWith("$Language_str: fra\n");
    EXPECT_FALSE(Dialog(R"(expect title "Test Add-On"
expect text 1 "D'accord"
expect text 2 "Annuler"
expect rows 3 7
expect selected 3 3
select 3 4
expect text 1 "D'accord"
expect text 2 "Abbrechen"
expect text 6 "Choose"
click 2)"));
    EXPECT_EQ(gKF_Language, KF_Language_Fra);
}

TEST_F(Language, CancelOrCloseRestoresAndAcceptWritesOnlyAChangedLanguage)
{
    ReadWith("$Language_str: ger\n$tail: unterminated"); // any save would drop the last line
    std::string const before = kftest::ReadFile(SharedFile());
    EXPECT_FALSE(Dialog("select 3 3\nselect 3 6\nclick 2"));
    EXPECT_EQ(gKF_Language, KF_Language_Ger);
    EXPECT_FALSE(Dialog("select 3 2\nclose"));
    EXPECT_EQ(gKF_Language, KF_Language_Ger);
    EXPECT_TRUE(Dialog("select 3 2\nselect 3 4\nclick 1"));
    EXPECT_EQ(kftest::ReadFile(SharedFile()), before);

    EXPECT_TRUE(Dialog("select 3 5\nclick 1"));
    EXPECT_EQ(gKF_Language, KF_Language_Spa);
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: spa\n");
}

TEST_F(Language, TheFirstAndTheLastRowAreLanguagesLikeTheOthers)
{
    struct Case {
        const char* stored;
        int selectedRow;
        int chosenRow;
        const char* preview; // the cancel button in the chosen language
        const char* written;
        short language;
    };
    for (const Case c :
         {Case{"ita", 1, 7, "Otmena", "rus", KF_Language_Rus}, Case{"rus", 7, 1, "Annulla", "ita", KF_Language_Ita}}) {
        ReadWith(std::string("$Language_str: ") + c.stored + "\n");
        EXPECT_TRUE(Dialog("expect rows 3 7\nexpect selected 3 " + std::to_string(c.selectedRow) + "\nselect 3 " +
                           std::to_string(c.chosenRow) + "\nexpect text 2 \"" + c.preview + "\"\nclick 1"))
            << c.stored;
        EXPECT_EQ(gKF_Language, c.language) << c.stored;
        EXPECT_EQ(ReadPlain(SharedFile()), std::string("$Language_str: ") + c.written + "\n");
    }
    // The languages shown (in any case) limit the rows: the second row is then the last language.
    std::strcpy(sett_ADDON_SHOWED_LANGUAGES, "FRA rus");
    gKF_Language = KF_Language_Ita;
    EXPECT_TRUE(Dialog("expect rows 3 2\nselect 3 2\nclick 1"));
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: rus\n");
    EXPECT_EQ(gKF_Language, KF_Language_Rus);
}
