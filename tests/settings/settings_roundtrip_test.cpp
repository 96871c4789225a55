// A store written here is read and rewritten by another process (kfhost with a test add-on) and
// comes back entry for entry and byte for byte, in both application encodings.
#include "kftest/SettingsFiles.hpp"
#include "kftest/Text.hpp"
#include "kftest/InProcessHost.hpp"
#include "KF_SettingsState.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace kftest;

namespace {

const std::vector<std::pair<std::string, std::string>> kEntries{
    {"Language_str", "fra"},      {"lines", "one\ntwo\r\nthree\rfour"}, {"empty", ""},
    {"accents", "Ünïcødé àéîõü"}, {"spaces", "  both ends  "},          {"symbols", "$#:#$ 100%"}};

class SettingsRoundTrip : public ::testing::TestWithParam<std::int32_t> {
protected:
    // A host of this process on the shared folder, with the store as a fresh load has it.
    std::unique_ptr<kftest::InProcessHost> Host() const
    {
        kfhost::HostConfig config;
        config.frameworkFolder = folder.Path();
        config.textEncoding = GetParam();
        auto host = std::make_unique<kftest::InProcessHost>(config);
        host->Attach();
        kf::detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
        return host;
    }

    kftest::TempFolder folder;
};

} // namespace

TEST_P(SettingsRoundTrip, AnotherProcessReadsAndRewritesTheStoreUnchanged)
{
    const auto file = folder.Path() / "TestAddOn.cfg";
    auto host = Host();
    for (const auto& [name, value] : kEntries) {
        KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, S(name), S(value), true);
    }
    ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_ThisAddon));
    std::string const written = kftest::ReadFile(file);
    host.reset();

    const auto transcript = folder.Path() / "transcript.txt";
    kftest::WriteFile(folder.Path() / "script", "command \"SRTP\" 1\n");
    std::string const command = std::string("\"") + KF_TEST_KFHOST + "\" --headless --addon \"" +
                                KF_TEST_ROUNDTRIP_BUNDLE + "\" --framework-folder \"" + folder.Path().string() +
                                "\" --text-encoding " + (GetParam() == KF_TEXTENC_MACROMAN ? "macroman" : "utf-8") +
                                " --script \"" + (folder.Path() / "script").string() + "\" > \"" + transcript.string() +
                                "\" 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << kftest::ReadFile(transcript);
    EXPECT_EQ(kftest::ReadFile(file), written + Scrambled("$RoundTrip: " + std::to_string(kEntries.size()) + "\n"))
        << kftest::ReadFile(transcript);

    host = Host();
    ASSERT_TRUE(KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, true));
    ASSERT_EQ(KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon), long(kEntries.size() + 1));
    for (std::size_t i = 0; i < kEntries.size(); ++i) {
        KF_String name;
        KF_String value;
        ASSERT_TRUE(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, long(i), &name, &value));
        EXPECT_EQ(Utf8(name), kEntries[i].first);
        EXPECT_EQ(Utf8(value), kEntries[i].second);
    }
    kf::detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
}

INSTANTIATE_TEST_SUITE_P(Encodings, SettingsRoundTrip, ::testing::Values(KF_TEXTENC_UTF8, KF_TEXTENC_MACROMAN),
                         [](const auto& info) { return info.param == KF_TEXTENC_UTF8 ? "UTF8" : "MacRoman"; });
