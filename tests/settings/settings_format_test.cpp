// The settings line format on byte buffers, through the scrambling and the text conversions.
#include "kftest/SettingsFiles.hpp"
#include "kftest/Text.hpp"
#include "KF_SettingsFormat.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace kftest;

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

std::string Build(const Entries& entries)
{
    KF_List<KF_Setting> list;
    for (const auto& [name, value] : entries) {
        list.AddData(KF_Setting(S(name), S(value)), -1);
    }
    return Scrambled(kf::detail::KF_Settings_BuildFile(list));
}

// Answers the entries read from plain text, and whether the whole text was well formed.
std::pair<bool, Entries> Parse(const std::string& plain)
{
    std::string const file = Scrambled(plain);
    KF_List<KF_Setting> list;
    const bool ok = kf::detail::KF_Settings_ParseFile(file.data(), file.size(), list);
    Entries entries;
    for (long i = 0; i < list.count; ++i) {
        entries.emplace_back(Utf8(list[i].name), Utf8(list[i].value));
    }
    return {ok, entries};
}

} // namespace

TEST(SettingsFormat, WriterPutsAHashAfterEveryLineBreakAndScramblesEveryByte)
{
    KF_List<KF_Setting> list;
    list.AddData(KF_Setting(S("k"), S("a\nb")), -1);
    EXPECT_EQ(kf::detail::KF_Settings_BuildFile(list), std::string("\x42\xB6\xA3\x02\x16\xA0\x32\x26\xA0"));
    EXPECT_EQ(Build({{"k", "a\r\nb\rc"}, {"e", ""}, {"k", "2"}}), "$k: a\r\n#b\r#c\n$e: \n$k: 2\n");
    EXPECT_EQ(Build({}), "");
}

// Values set by code read back as set, or as close as the format allows, and leave their
// neighbours intact.
TEST(SettingsFormat, ValuesReadBackAsSetOrAsCloseAsTheFormatAllows)
{
    for (const auto& [value, readBack] : {std::pair{"a\n\nb", "a\n\nb"},
                                          {"a\r\n\r\nb", "a\r\n\r\nb"},
                                          {"p\rq", "p\rq"},
                                          {"x\n", "x"},
                                          {"x\r", "x"},
                                          {"x\r\n", "x\r\n"},
                                          {"\n\n", "\n\n"},
                                          {"\n", ""}}) {
        EXPECT_EQ(Parse(Build({{"k", value}, {"next", "1"}})),
                  std::make_pair(true, Entries{{"k", readBack}, {"next", "1"}}))
            << value;
    }
}

TEST(SettingsFormat, ReaderQuirksAreKept)
{
    // The byte after ":" is skipped unseen.
    EXPECT_EQ(Parse("$k:v\n"), std::make_pair(true, Entries{{"k", ""}}));
    EXPECT_EQ(Parse("$k:vx\n"), std::make_pair(true, Entries{{"k", "x"}}));
    // A last entry without its line end is dropped, and the read still succeeds.
    EXPECT_EQ(Parse("$a: 1\n$b: 2"), std::make_pair(true, Entries{{"a", "1"}}));
    EXPECT_EQ(Parse("$a: 1\n$b:"), std::make_pair(true, Entries{{"a", "1"}}));
    // The byte after "#" is value text even when it is a line end, so the next line joins.
    EXPECT_EQ(Parse("$k: a\n#\n$j: x\n"), std::make_pair(true, Entries{{"k", "a\n\n$j: x"}}));
    EXPECT_EQ(Parse("$a: 1\r\n$b: 2\r$c: x\r\n#y\n"),
              std::make_pair(true, Entries{{"a", "1"}, {"b", "2"}, {"c", "x\r\ny"}}));
}

TEST(SettingsFormat, MalformedTextFailsKeepingTheEntriesBeforeIt)
{
    for (const char* bad : {"$: x\n", "k: v\n", "$", "$no colon\n"}) {
        EXPECT_FALSE(Parse(bad).first) << bad;
    }
    EXPECT_EQ(Parse("$a: 1\n$b: 2\nz$c: 3\n"), std::make_pair(false, Entries{{"a", "1"}}));
    EXPECT_EQ(Parse(std::string("$a: 1\n\0$b: 2\n", 13)), std::make_pair(false, Entries{{"a", "1"}}));
}
