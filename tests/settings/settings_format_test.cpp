// The settings line format on byte buffers: what the writer produces byte for byte and how the
// reader treats every kind of line, including the quirks that files in the field rely on.
#include "settings/KF_SettingsFormat.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

std::string Swapped(std::string bytes)
{
    detail::KF_Settings_SwapHalves(bytes.data(), bytes.size());
    return bytes;
}

std::string Utf8(KF_String const& text)
{
    KF_CString const bytes = text.ToCStr(KF_String::Enc_UTF8);
    std::string out = bytes.bytes != nullptr ? std::string(bytes.bytes, bytes.length) : std::string();
    while (!out.empty() && out.back() == '\0') {
        out.pop_back();
    }
    return out;
}

KF_String Text(std::string const& utf8)
{
    return utf8.empty() ? KF_String("", KF_String::Enc_System)
                        : KF_String(utf8.data(), unsigned(utf8.size()), KF_String::Enc_UTF8);
}

struct Parsed {
    bool ok = false;
    Entries entries;
};

// Plain text in, through the scrambling and the text conversions, as a store would read it.
Parsed Parse(std::string const& plain)
{
    std::string const file = Swapped(plain);
    KF_List<KF_Setting> list;
    Parsed result;
    result.ok = detail::KF_Settings_ParseFile(file.data(), file.size(), list);
    for (long i = 0; i < list.count; ++i) {
        result.entries.emplace_back(Utf8(list[i].name), Utf8(list[i].value));
    }
    return result;
}

std::string Build(Entries const& entries)
{
    KF_List<KF_Setting> list;
    for (auto const& [name, value] : entries) {
        list.AddData(KF_Setting(Text(name), Text(value)), -1);
    }
    return detail::KF_Settings_BuildFile(list);
}

std::string Bytes(std::initializer_list<unsigned char> bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

} // namespace

TEST(SettingsFormatWriting, ValueWithLineFeedIsContinuedWithHashAndScrambled)
{
    std::string const file = Build({{"k", "a\nb"}});
    EXPECT_EQ(Swapped(file), Bytes({0x24, 0x6B, 0x3A, 0x20, 0x61, 0x0A, 0x23, 0x62, 0x0A}));
    EXPECT_EQ(file, Bytes({0x42, 0xB6, 0xA3, 0x02, 0x16, 0xA0, 0x32, 0x26, 0xA0}));
}

TEST(SettingsFormatWriting, EveryKindOfLineBreakGetsItsHash)
{
    EXPECT_EQ(Swapped(Build({{"k", "a\r\nb"}})), "$k: a\r\n#b\n");
    EXPECT_EQ(Swapped(Build({{"k", "a\rb"}})), "$k: a\r#b\n");
    EXPECT_EQ(Swapped(Build({{"k", "\n\r"}})), "$k: \n#\r#\n");
}

TEST(SettingsFormatWriting, EntriesFollowEachOtherInListOrderWithNothingBetween)
{
    EXPECT_EQ(Swapped(Build({{"Language_str", "fra"}, {"k", ""}, {"Language_str", "ger"}})),
              "$Language_str: fra\n$k: \n$Language_str: ger\n");
    EXPECT_EQ(Build({}), "");
}

TEST(SettingsFormatWriting, SwappingIsItsOwnInverseOverAllBytes)
{
    std::string all;
    for (int b = 0; b < 256; ++b) {
        all += char(b);
    }
    std::string const once = Swapped(all);
    EXPECT_EQ(static_cast<unsigned char>(once[0x24]), 0x42);
    EXPECT_EQ(static_cast<unsigned char>(once[0x0A]), 0xA0);
    EXPECT_EQ(Swapped(once), all);
}

TEST(SettingsFormatReading, WrittenValuesWithLineBreaksReadBack)
{
    Entries const entries{{"k", "a\nb"}, {"crlf", "x\r\ny"}, {"cr", "p\rq"}, {"empty", ""}, {"dup", "1"}, {"dup", "2"}};
    std::string const file = Build(entries);
    KF_List<KF_Setting> list;
    ASSERT_TRUE(detail::KF_Settings_ParseFile(file.data(), file.size(), list));
    ASSERT_EQ(list.count, long(entries.size()));
    for (long i = 0; i < list.count; ++i) {
        EXPECT_EQ(Utf8(list[i].name), entries[std::size_t(i)].first);
        EXPECT_EQ(Utf8(list[i].value), entries[std::size_t(i)].second);
    }
}

TEST(SettingsFormatReading, ByteAfterColonIsSkippedWhateverItIs)
{
    Parsed const empty = Parse(Bytes({0x24, 0x6B, 0x3A, 0x76, 0x0A}));
    ASSERT_TRUE(empty.ok);
    EXPECT_EQ(empty.entries, (Entries{{"k", ""}}));

    Parsed const x = Parse(Bytes({0x24, 0x6B, 0x3A, 0x76, 0x78, 0x0A}));
    ASSERT_TRUE(x.ok);
    EXPECT_EQ(x.entries, (Entries{{"k", "x"}}));
}

TEST(SettingsFormatReading, LastEntryWithoutLineEndIsDroppedButLoadSucceeds)
{
    Parsed const parsed = Parse("$a: 1\n$b: 2");
    EXPECT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"a", "1"}}));

    // Nothing at all after the colon's space: dropped too.
    EXPECT_TRUE(Parse("$a: 1\n$b:").ok);
    EXPECT_EQ(Parse("$a: 1\n$b: ").entries, (Entries{{"a", "1"}}));
}

TEST(SettingsFormatReading, MalformedEntriesFailAndKeepWhatCameBefore)
{
    EXPECT_FALSE(Parse(Bytes({0x24, 0x3A, 0x78, 0x0A})).ok); // empty name
    EXPECT_FALSE(Parse("k: v\n").ok);                         // no "$"
    EXPECT_FALSE(Parse("$").ok);                              // name cut by the end
    EXPECT_FALSE(Parse("$name without colon\n").ok);

    Parsed const parsed = Parse("$a: 1\n$b: 2\nz$c: 3\n");
    EXPECT_FALSE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"a", "1"}}));
}

TEST(SettingsFormatReading, CrLfAndLoneCrEndLinesLikeLf)
{
    Parsed const parsed = Parse("$a: 1\r\n$b: 2\r$c: x\r\n#y\r#z\n");
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"a", "1"}, {"b", "2"}, {"c", "x\r\ny\rz"}}));
}

TEST(SettingsFormatReading, ByteAfterHashIsValueTextEvenWhenItIsALineEnd)
{
    // The LF behind "#" is taken as text, so the next line joins the value.
    Parsed const parsed = Parse("$k: a\n#\n$j: x\n");
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"k", "a\n\n$j: x"}}));

    // A value ending in a line break is written so that it swallows what follows.
    Parsed const trailing = Parse(Swapped(Build({{"k", "a\n"}, {"j", "x"}})));
    ASSERT_TRUE(trailing.ok);
    EXPECT_EQ(trailing.entries, (Entries{{"k", "a\n\n$j: x"}}));
}

TEST(SettingsFormatReading, ZeroByteAfterALineEndsTheEntryThenFails)
{
    Parsed const parsed = Parse(std::string("$a: 1\n\0$b: 2\n", 13));
    EXPECT_FALSE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"a", "1"}}));
}

TEST(SettingsFormatReading, HashAtTheVeryEndDropsTheEntry)
{
    Parsed const parsed = Parse("$a: 1\n$k: v\n#");
    EXPECT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"a", "1"}}));
}

TEST(SettingsFormatReading, NamesMayHoldSpacesAndDollars)
{
    Parsed const parsed = Parse("$Tavolo Loaded: TRUE\n$$x: y\n");
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.entries, (Entries{{"Tavolo Loaded", "TRUE"}, {"$x", "y"}}));
}
