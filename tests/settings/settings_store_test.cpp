// The two settings stores against real files in a hosted framework folder.
#include "SettingsTestSupport.hpp"

namespace fs = std::filesystem;
using namespace kftest;

namespace {

constexpr auto kOwn = KF_AddonSettings_ThisAddon;
constexpr auto kShared = KF_AddonSettings_AllAddons;

std::string Value(KF_AddonSettings_Type type, const char* name)
{
    return Utf8(KF_AddonSettings_Get(type, S(name), false));
}

} // namespace

TEST_F(HostedStores, EachStoreSavesItsOwnScrambledFile)
{
    KF_AddonSettings_Set(kShared, S("Language_str"), S("fra"), true);
    KF_AddonSettings_Set(kOwn, S("k"), S("a\nb"), true);
    KF_AddonSettings_SetLong(kOwn, S("n"), -42, true);
    KF_AddonSettings_SetDouble(kOwn, S("d"), 1.5, true);
    ASSERT_TRUE(KF_AddonSettings_Save(kShared));
    ASSERT_TRUE(KF_AddonSettings_Save(kOwn));
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: fra\n");
    EXPECT_EQ(ReadPlain(OwnFile()), "$k: a\n#b\n$n: -42\n$d: 1.5\n");
    EXPECT_EQ(KF_AddonSettings_GetLong(kOwn, S("n"), false), -42);
    EXPECT_DOUBLE_EQ(KF_AddonSettings_GetDouble(kOwn, S("d"), false), 1.5);
}

TEST_F(HostedStores, GetWithLoadReadsOnceUntilAnExplicitReload)
{
    WritePlain(OwnFile(), "$k: one\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kOwn, S("k"), true)), "one");
    WritePlain(OwnFile(), "$k: two\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kOwn, S("k"), true)), "one");
    EXPECT_TRUE(KF_AddonSettings_Load(kOwn, true));
    EXPECT_EQ(Value(kOwn, "k"), "one");
    EXPECT_TRUE(KF_AddonSettings_Load(kOwn, false));
    EXPECT_EQ(Value(kOwn, "k"), "two");
}

TEST_F(HostedStores, MissingFileLoadsEmptyAndASetBeforeAnyLoadIsLost)
{
    KF_AddonSettings_Set(kOwn, S("k"), S("memory"), true);
    EXPECT_FALSE(KF_AddonSettings_Get(kOwn, S("k"), nullptr, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(kOwn), 0);
    EXPECT_FALSE(fs::exists(OwnFile()));
    // Loaded now: a file appearing later is not read.
    WritePlain(OwnFile(), "$k: v\n");
    EXPECT_FALSE(KF_AddonSettings_Get(kOwn, S("k"), nullptr, true));
}

TEST_F(HostedStores, SetReplacesTheFirstOrAppendsOnlyWithCreate)
{
    WritePlain(OwnFile(), "$a: 1\n$d: x\n$d: y\n");
    ASSERT_TRUE(KF_AddonSettings_Load(kOwn, true));
    EXPECT_TRUE(KF_AddonSettings_Set(kOwn, S("absent"), S("x"), false));
    EXPECT_TRUE(KF_AddonSettings_Set(kOwn, S("d"), S("z"), false));
    EXPECT_TRUE(KF_AddonSettings_Set(kOwn, S("c"), S("3"), true));
    EXPECT_TRUE(KF_AddonSettings_Remove(kOwn, S("a")));
    ASSERT_TRUE(KF_AddonSettings_Save(kOwn));
    EXPECT_EQ(ReadPlain(OwnFile()), "$d: z\n$d: y\n$c: 3\n");
    EXPECT_FALSE(KF_AddonSettings_Get(kOwn, 3L, nullptr, nullptr));
    EXPECT_FALSE(KF_AddonSettings_Get(kOwn, -1L, nullptr, nullptr));
}

TEST_F(HostedStores, FailedReplacementLeavesThePreviousFileByteIdentical)
{
    WritePlain(OwnFile(), "$k: old\n$other: 1\n");
    std::string const before = kftest::ReadFile(OwnFile());
    ASSERT_TRUE(KF_AddonSettings_Load(kOwn, true));
    KF_AddonSettings_Set(kOwn, S("k"), S("new"), true);
    // Every failing step of the replacement is the files area's; here one stands for all.
    host.Faults().Fail(kfhost::FileOp::Move, "*", IO::DiskFull);
    EXPECT_FALSE(KF_AddonSettings_Save(kOwn));
    EXPECT_EQ(kftest::ReadFile(OwnFile()), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(host.FrameworkFolder()), {}), 1);
    EXPECT_TRUE(KF_AddonSettings_Save(kOwn));
    EXPECT_EQ(ReadPlain(OwnFile()), "$k: new\n$other: 1\n");
}
