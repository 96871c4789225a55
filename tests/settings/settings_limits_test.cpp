// The 100,000-byte limit of a store's file, at the edge, on load and on save.
#include "SettingsTestSupport.hpp"

using namespace kftest;

namespace {

constexpr auto kOwn = KF_AddonSettings_ThisAddon;
constexpr std::size_t kLimit = 100000;

// "$big: " + value + LF is a file of exactly fileSize bytes.
std::string ValueForFile(std::size_t fileSize, char fill)
{
    return std::string(fileSize - 7, fill);
}

} // namespace

TEST_F(HostedStores, AFileBelowTheLimitLoadsAndOneAtItOrAboveDoesNot)
{
    for (std::size_t const size : {kLimit - 1, kLimit, kLimit + 1, kLimit - 2}) {
        std::string const value = ValueForFile(size, 'x');
        WritePlain(OwnFile(), "$big: " + value + "\n");
        const bool fits = size < kLimit;
        EXPECT_EQ(KF_AddonSettings_Load(kOwn, false), fits) << size;
        EXPECT_EQ(KF_AddonSettings_GetCount(kOwn), fits ? 1 : 0) << size;
        KF_String read;
        // Not loaded after a refusal, so every Get with load reads the file again.
        EXPECT_EQ(KF_AddonSettings_Get(kOwn, S("big"), &read, true), fits) << size;
        EXPECT_EQ(read.GetLength(), fits ? value.size() : 0u) << size;
    }
}

TEST_F(HostedStores, ATextBelowTheLimitIsSavedAndOneAtItOrAboveIsNot)
{
    WritePlain(OwnFile(), "$k: old\n");
    std::string const before = kftest::ReadFile(OwnFile());
    ASSERT_TRUE(KF_AddonSettings_Load(kOwn, true));
    for (std::size_t const size : {kLimit, kLimit + 1, kLimit - 1}) {
        KF_AddonSettings_Clear(kOwn);
        KF_AddonSettings_Set(kOwn, S("big"), S(ValueForFile(size, 'y')), true);
        const bool fits = size < kLimit;
        EXPECT_EQ(KF_AddonSettings_Save(kOwn), fits) << size;
        if (fits) {
            EXPECT_EQ(kftest::ReadFile(OwnFile()).size(), size);
            EXPECT_TRUE(KF_AddonSettings_Load(kOwn, false)) << "what is saved can be read back";
        } else {
            EXPECT_EQ(kftest::ReadFile(OwnFile()), before) << size;
        }
    }
}
