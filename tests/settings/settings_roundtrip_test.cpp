// A settings store written here is read and rewritten by another process (kfhost with a test
// add-on), and comes back entry for entry and byte for byte, in both application encodings.
#include "SettingsTestSupport.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using namespace kftest_settings;

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

Entries const kEntries{
    {"Language_str", "fra"},          {"lines", "one\ntwo\r\nthree\rfour"}, {"empty", ""},
    {"accents", "Ünïcødé àéîõü"},     {"dup", "first"},                     {"dup", "second"},
    {"spaces", "  leading and trailing  "}, {"symbols", "$#:#$ 100%"},
};

KF_String Text(std::string const& utf8)
{
    return utf8.empty() ? KF_String("", KF_String::Enc_System)
                        : KF_String(utf8.data(), unsigned(utf8.size()), KF_String::Enc_UTF8);
}

class SettingsRoundTrip : public ::testing::TestWithParam<std::int32_t> {
protected:
    kfhost::HostConfig Config() const
    {
        kfhost::HostConfig config;
        config.frameworkFolder = folder.Path();
        config.textEncoding = GetParam();
        return config;
    }

    kftest::TempFolder folder;
};

} // namespace

TEST_P(SettingsRoundTrip, AnotherProcessReadsAndRewritesTheStoreUnchanged)
{
    fs::path const file = folder.Path() / "TestAddOn.cfg";
    std::string written;
    {
        kftest::InProcessHost host(Config());
        host.Attach();
        detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
        for (auto const& [name, value] : kEntries) {
            KF_String const key = Text(name);
            // A second "dup" goes in under a stand-in name, renamed in the file below.
            if (KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, key, nullptr, false)) {
                KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, Text("__tmp"), Text(value), true);
            } else {
                KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, key, Text(value), true);
            }
        }
        ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_ThisAddon));
        // Put the duplicate's real name in place, as a file from the field may have it.
        std::string plain = Scrambled(kftest::ReadFile(file));
        plain.replace(plain.find("$__tmp:"), 7, "$dup:");
        kftest::WriteFile(file, Scrambled(plain));
        written = kftest::ReadFile(file);
        detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
    }

    fs::path const script = folder.Path() / "roundtrip.script";
    kftest::WriteFile(script, "command \"SRTP\" 1\n");
    std::string const command = std::string("\"") + KF_TEST_KFHOST + "\" --headless --addon \"" +
                                KF_TEST_ROUNDTRIP_BUNDLE + "\" --framework-folder \"" + folder.Path().string() +
                                "\" --text-encoding " + (GetParam() == KF_TEXTENC_MACROMAN ? "macroman" : "utf-8") +
                                " --script \"" + script.string() + "\" > \"" +
                                (folder.Path() / "transcript.txt").string() + "\" 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << kftest::ReadFile(folder.Path() / "transcript.txt");

    std::string const rewritten = kftest::ReadFile(file);
    EXPECT_EQ(rewritten, written + Scrambled("$RoundTrip: " + std::to_string(kEntries.size()) + "\n"))
        << kftest::ReadFile(folder.Path() / "transcript.txt");

    kftest::InProcessHost host(Config());
    host.Attach();
    detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
    ASSERT_TRUE(KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, true));
    ASSERT_EQ(KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon), long(kEntries.size() + 1));
    for (std::size_t i = 0; i < kEntries.size(); ++i) {
        KF_String name;
        KF_String value;
        ASSERT_TRUE(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, long(i), &name, &value));
        EXPECT_EQ(Utf8(name), kEntries[i].first);
        EXPECT_EQ(Utf8(value), kEntries[i].second);
    }
    detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
}

INSTANTIATE_TEST_SUITE_P(Encodings, SettingsRoundTrip, ::testing::Values(KF_TEXTENC_UTF8, KF_TEXTENC_MACROMAN),
                         [](auto const& info) { return info.param == KF_TEXTENC_UTF8 ? "UTF8" : "MacRoman"; });
