// The 100,000-byte limit of a store's file, at the edge, on load and on save.
#include "SettingsTestSupport.hpp"

using namespace kftest;

namespace {

constexpr auto kOwn = KF_AddonSettings_ThisAddon;
constexpr std::size_t kLimit = 100000;

} // namespace

TEST_F(HostedStores, AFileOrATextBelowTheLimitLoadsOrIsSavedAndOneAtItOrAboveIsNot)
{
    for (std::size_t const size : {kLimit - 1, kLimit, kLimit + 1, kLimit - 2}) {
        std::string const value(size - 7, 'x'); // "$big: " + value + LF is a file of size bytes
        const bool fits = size < kLimit;
        Forget();
        WritePlain(OwnFile(), "$big: " + value + "\n");
        EXPECT_EQ(KF_AddonSettings_Load(kOwn, false), fits) << size;
        EXPECT_EQ(KF_AddonSettings_GetCount(kOwn), fits ? 1 : 0) << size;
        KF_String read;
        // Not loaded after a refusal, so every Get with load reads the file again.
        EXPECT_EQ(KF_AddonSettings_Get(kOwn, S("big"), &read, true), fits) << size;
        EXPECT_EQ(read.GetLength(), fits ? value.size() : 0u) << size;

        // The same text set by code over a small store: saved, or the small store stays as it was.
        WritePlain(OwnFile(), "$k: old\n");
        std::string const before = kftest::ReadFile(OwnFile());
        ASSERT_TRUE(KF_AddonSettings_Load(kOwn, false));
        KF_AddonSettings_Clear(kOwn);
        KF_AddonSettings_Set(kOwn, S("big"), S(value), true);
        EXPECT_EQ(KF_AddonSettings_Save(kOwn), fits) << size;
        EXPECT_EQ(kftest::ReadFile(OwnFile()), fits ? Scrambled("$big: " + value + "\n") : before) << size;
    }
}
