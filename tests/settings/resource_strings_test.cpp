// Localized strings by language, with their fall-backs and error markers.
#include "LanguageResources.hpp"
#include "SettingsTestSupport.hpp"

#include "KF/KF_Language.hpp"

using namespace kftest_settings;

namespace {

class ResourceStrings : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.AddResourceText(kLanguageTestResources);
        host.Attach();
        gKF_Language = KF_Language_Int;
    }
    void TearDown() override { gKF_Language = KF_Language_Int; }

    std::string Framework(long index)
    {
        return Utf8(KF_Resource_GetString(short(KF_Resource_FrameworkStrings + gKF_Language), index, false));
    }
    std::string AddOn(long index, bool addOnStrings = true)
    {
        return Utf8(KF_Resource_GetString(short(KF_Resource_AddOnStrings + gKF_Language), index, addOnStrings));
    }

    kftest::InProcessHost host;
};

} // namespace

TEST_F(ResourceStrings, EachLanguageReadsItsOwnResource)
{
    gKF_Language = KF_Language_Fra;
    EXPECT_EQ(Framework(64), "D'accord");
    gKF_Language = KF_Language_Jap;
    EXPECT_EQ(Framework(65), "言語を選択");
    gKF_Language = KF_Language_Ita;
    EXPECT_EQ(AddOn(1), "Italiano uno");
}

TEST_F(ResourceStrings, FrameworkStringMissingInTheLanguageFallsBackToInternational)
{
    gKF_Language = KF_Language_Ger;
    EXPECT_EQ(Framework(64), "Gut");
    EXPECT_EQ(Framework(65), "Choose the language");
    // A language without any resource of its own.
    gKF_Language = KF_Language_Spa;
    EXPECT_EQ(Framework(5), "Cancel");
}

TEST_F(ResourceStrings, MissingEverywhereGivesTheNoStringMarker)
{
    gKF_Language = KF_Language_Fra;
    EXPECT_EQ(Framework(99), "_ERR_NO_");
    gKF_Language = KF_Language_Int;
    EXPECT_EQ(Framework(99), "_ERR_NO_");
    gKF_Language = KF_Language_Ita;
    EXPECT_EQ(AddOn(99), "_ERR_NO_");
}

TEST_F(ResourceStrings, AddOnStringsNeedTheCallersConsent)
{
    gKF_Language = KF_Language_Fra;
    EXPECT_EQ(AddOn(1, false), "_ERR_DPT_");
    EXPECT_EQ(AddOn(1, true), "Français un");
    EXPECT_EQ(AddOn(2, true), "International two");
}

TEST_F(ResourceStrings, LookupsUseTheOwnModuleAndPutBackTheCurrentOne)
{
    // Another module is current, as when the host is busy with another add-on.
    host.Host().SetCurrentResModule(0);
    gKF_Language = KF_Language_Ger;
    EXPECT_EQ(Framework(65), "Choose the language");
    EXPECT_EQ(AddOn(99), "_ERR_NO_");
    EXPECT_EQ(host.Host().CurrentResModule(), 0);
}
