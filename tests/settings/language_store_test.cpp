// The language choice as the settings store on disk holds it.
#include "SettingsTestSupport.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"

#include <cstring>
#include <filesystem>

using namespace kftest_settings;

namespace {

// Restores the per-add-on constants and the language globals each test may change.
class LanguageStore : public HostedStores {
protected:
    void SetUp() override
    {
        HostedStores::SetUp();
        std::memcpy(savedExtra_, sett_ADDON_SUPP_EXTRA_LANGUAGES, sizeof savedExtra_);
        savedOwn_ = sett_ADDON_HAS_OWN_LANGUAGE;
        gKF_Language = KF_Language_Int;
    }
    void TearDown() override
    {
        std::memcpy(sett_ADDON_SUPP_EXTRA_LANGUAGES, savedExtra_, sizeof savedExtra_);
        sett_ADDON_HAS_OWN_LANGUAGE = savedOwn_;
        gKF_Language = KF_Language_Int;
        HostedStores::TearDown();
    }

    // Writes the shared store and reads the language from disk as the shell does.
    short ReadWith(std::string const& plain, bool* found = nullptr)
    {
        WritePlain(SharedFile(), plain);
        bool const read = KF_Language_Read(true);
        if (found != nullptr) {
            *found = read;
        }
        return gKF_Language;
    }

    void Supports(char const* extra) { std::strncpy(sett_ADDON_SUPP_EXTRA_LANGUAGES, extra, 63); }

private:
    char savedExtra_[64] = {};
    bool savedOwn_ = false;
};

} // namespace

TEST_F(LanguageStore, SuffixTableIsTheSevenLanguagesInIndexOrder)
{
    char const* const expected[] = {"ita", "int", "fra", "ger", "spa", "jap", "rus"};
    for (short i = 0; i < KF_Language_Count; ++i) {
        EXPECT_EQ(Utf8(gKF_Languages_Suffixes[i]), expected[i]);
    }
}

TEST_F(LanguageStore, StoredSuffixIsMatchedIgnoringCase)
{
    bool found = false;
    EXPECT_EQ(ReadWith("$Language_str: FRA\n", &found), KF_Language_Fra);
    EXPECT_TRUE(found);
    EXPECT_EQ(ReadWith("$Language_str: ita\n"), KF_Language_Ita);
    EXPECT_EQ(ReadWith("$Language_str: Ger\n"), KF_Language_Ger);
}

TEST_F(LanguageStore, UnknownSuffixGivesInternationalButCountsAsStored)
{
    gKF_Language = KF_Language_Spa;
    bool found = false;
    EXPECT_EQ(ReadWith("$Language_str: xyz\n", &found), KF_Language_Int);
    EXPECT_TRUE(found);
}

TEST_F(LanguageStore, NothingStoredAnswersFalseWithInternational)
{
    gKF_Language = KF_Language_Spa;
    bool found = true;
    EXPECT_EQ(ReadWith("$Other: 1\n", &found), KF_Language_Int);
    EXPECT_FALSE(found);
    EXPECT_FALSE(KF_Language_Exists());

    // No file at all reads the same.
    std::filesystem::remove(SharedFile());
    EXPECT_FALSE(KF_Language_Read(true));
}

TEST_F(LanguageStore, LegacyNumberMapsSixAndAboveToInternational)
{
    EXPECT_EQ(ReadWith("$Language: 3\n"), KF_Language_Ger);
    EXPECT_EQ(ReadWith("$Language: 0\n"), KF_Language_Ita);
    EXPECT_EQ(ReadWith("$Language: 5\n"), KF_Language_Jap);
    EXPECT_EQ(ReadWith("$Language: 6\n"), KF_Language_Int);
    EXPECT_EQ(ReadWith("$Language: 9\n"), KF_Language_Int);
    EXPECT_EQ(ReadWith("$Language: abc\n"), KF_Language_Int);
    // A negative number would point outside the table.
    EXPECT_EQ(ReadWith("$Language: -2\n"), KF_Language_Int);
    EXPECT_TRUE(KF_Language_Exists());
    // Reading never rewrites the older key.
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language: -2\n");
}

TEST_F(LanguageStore, NewKeyWinsOverTheLegacyOne)
{
    EXPECT_EQ(ReadWith("$Language: 3\n$Language_str: spa\n"), KF_Language_Spa);
}

TEST_F(LanguageStore, ExtraLanguagesNeedTheAddOnsSupport)
{
    EXPECT_EQ(ReadWith("$Language_str: jap\n"), KF_Language_Jap);
    EXPECT_EQ(ReadWith("$Language_str: rus\n"), KF_Language_Rus);

    Supports("RUS");
    EXPECT_EQ(ReadWith("$Language_str: jap\n"), KF_Language_Int);
    EXPECT_EQ(ReadWith("$Language_str: rus\n"), KF_Language_Rus);

    Supports("");
    EXPECT_EQ(ReadWith("$Language_str: jap\n"), KF_Language_Int);
    EXPECT_EQ(ReadWith("$Language: 5\n"), KF_Language_Int);
    // The store keeps what another add-on chose.
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language: 5\n");
}

TEST_F(LanguageStore, WriteStoresTheSuffixAtOnceAndKeepsOtherEntries)
{
    WritePlain(SharedFile(), "$Language: 3\n$AutoUpdate: 1\n");
    gKF_Language = KF_Language_Fra;
    KF_Language_Write();
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language: 3\n$AutoUpdate: 1\n$Language_str: fra\n");
    EXPECT_EQ(gKF_Language, KF_Language_Fra);

    gKF_Language = 9;
    KF_Language_Write();
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language: 3\n$AutoUpdate: 1\n$Language_str: int\n");
    EXPECT_EQ(gKF_Language, KF_Language_Int);
}

TEST_F(LanguageStore, UnsupportedLanguageIsStoredButNotUsed)
{
    Supports("");
    gKF_Language = KF_Language_Jap;
    KF_Language_Write();
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: jap\n");
    EXPECT_EQ(gKF_Language, KF_Language_Int);
}

TEST_F(LanguageStore, AddOnWithItsOwnLanguageUsesItsOwnStore)
{
    sett_ADDON_HAS_OWN_LANGUAGE = true;
    WritePlain(SharedFile(), "$Language_str: fra\n");
    WritePlain(OwnFile(), "$Language_str: ger\n");
    EXPECT_TRUE(KF_Language_Read(true));
    EXPECT_EQ(gKF_Language, KF_Language_Ger);

    gKF_Language = KF_Language_Spa;
    KF_Language_Write();
    EXPECT_EQ(ReadPlain(OwnFile()), "$Language_str: spa\n");
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: fra\n");
}

TEST_F(LanguageStore, ReloadReadsTheSharedStoreAgain)
{
    EXPECT_EQ(ReadWith("$Language_str: ita\n"), KF_Language_Ita);
    // Another add-on changes the shared choice.
    WritePlain(SharedFile(), "$Language_str: ger\n");
    EXPECT_TRUE(KF_Language_Read(false));
    EXPECT_EQ(gKF_Language, KF_Language_Ita);
    EXPECT_TRUE(KF_Language_Read(true));
    EXPECT_EQ(gKF_Language, KF_Language_Ger);
}
