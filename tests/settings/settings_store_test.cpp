// The two settings stores against real files in a hosted framework folder, and a store read and
// rewritten by a fresh host in either application encoding.
#include "SettingsTestSupport.hpp"

namespace fs = std::filesystem;
using namespace kftest;

constexpr auto kOwn = KF_AddonSettings_ThisAddon;

TEST_F(HostedStores, GetWithLoadReadsOnceUntilAnExplicitReload)
{
    WritePlain(OwnFile(), "$k: one\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kOwn, S("k"), true)), "one");
    WritePlain(OwnFile(), "$k: two\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kOwn, S("k"), true)), "one");
    EXPECT_TRUE(KF_AddonSettings_Load(kOwn, true));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kOwn, S("k"), false)), "one");
    EXPECT_TRUE(KF_AddonSettings_Load(kOwn, false));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(kOwn, S("k"), false)), "two");
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

// What one host saved, a fresh host (as a new run of the application would) reads entry for entry
// and rewrites byte for byte, in both application encodings; numbers are stored as their text.
TEST(SettingsRoundTrip, AFreshHostReadsAndRewritesTheStoreUnchanged)
{
    const SettingsEntries entries{{"Language_str", "fra"},
                                  {"lines", "one\ntwo\r\nthree\rfour"},
                                  {"empty", ""},
                                  {"accents", "Ünïcødé àéîõü"},
                                  {"spaces", "  both ends  "},
                                  {"symbols", "$#:#$ 100%"},
                                  {"n", "-42"},
                                  {"d", "1.5"}};
    for (const std::int32_t encoding : {KF_TEXTENC_UTF8, KF_TEXTENC_MACROMAN}) {
        SCOPED_TRACE(encoding);
        kftest::TempFolder folder;
        std::unique_ptr<kftest::InProcessHost> host;
        const auto fresh = [&] {
            host.reset();
            kfhost::HostConfig config;
            config.frameworkFolder = folder.Path();
            config.textEncoding = encoding;
            host = std::make_unique<kftest::InProcessHost>(config);
            host->Attach();
            kf::detail::KF_AddonSettings_Forget(kOwn);
        };
        fresh();
        for (std::size_t i = 0; i + 2 < entries.size(); ++i)
            KF_AddonSettings_Set(kOwn, S(entries[i].first), S(entries[i].second), true);
        KF_AddonSettings_SetLong(kOwn, S("n"), -42, true);
        KF_AddonSettings_SetDouble(kOwn, S("d"), 1.5, true);
        ASSERT_TRUE(KF_AddonSettings_Save(kOwn));
        std::string const written = kftest::ReadFile(folder.Path() / "TestAddOn.cfg");

        fresh();
        ASSERT_TRUE(KF_AddonSettings_Load(kOwn, false));
        KF_AddonSettings_SetLong(kOwn, S("RoundTrip"), KF_AddonSettings_GetCount(kOwn), true);
        ASSERT_TRUE(KF_AddonSettings_Save(kOwn));
        EXPECT_EQ(kftest::ReadFile(folder.Path() / "TestAddOn.cfg"), written + Scrambled("$RoundTrip: 8\n"));

        fresh();
        ASSERT_TRUE(KF_AddonSettings_Load(kOwn, true));
        ASSERT_EQ(KF_AddonSettings_GetCount(kOwn), long(entries.size() + 1));
        for (std::size_t i = 0; i < entries.size(); ++i) {
            KF_String name;
            KF_String value;
            ASSERT_TRUE(KF_AddonSettings_Get(kOwn, long(i), &name, &value));
            EXPECT_EQ(std::make_pair(Utf8(name), Utf8(value)), entries[i]);
        }
        EXPECT_EQ(KF_AddonSettings_GetLong(kOwn, S("n"), false), -42);
        EXPECT_DOUBLE_EQ(KF_AddonSettings_GetDouble(kOwn, S("d"), false), 1.5);
        kf::detail::KF_AddonSettings_Forget(kOwn);
    }
}
