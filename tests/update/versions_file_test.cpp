// The versions file's grammar, parsed from bytes (no host needed).
#include "VersionsParse.hpp"

#include <gtest/gtest.h>

using namespace kftest;

namespace {

std::vector<unsigned> V(unsigned a, unsigned b, unsigned c, unsigned d)
{
    return {a, b, c, d};
}

// Whether a head line on its own is taken as an add-on line.
bool IsAddonLine(const std::string& line)
{
    return Parse(line + "\n").addons.size() == 1;
}

} // namespace

TEST(VersionsFile, ReadsTheThreeKindsOfEntryInFileOrder)
{
    const Parsed p = Parse("* comment\n"
                           "MESSAGE 01/03/2012 31/03/2012\n"
                           "# Hello users\n"
                           "BeamLib 15-02-2012 ignored tokens\n"
                           "# Library text\n"
                           "XYZ 1.2.0.15 (HV160) 20/01/2012 ita int\n"
                           "# First line\n"
                           "# Second line\n"
                           "\n"
                           "ABC 2.0.0.1 (HV170) 05/06/2013\n");
    ASSERT_EQ(p.messages.size(), 1u);
    EXPECT_EQ(p.messages[0].firstDate, "20120301");
    EXPECT_EQ(p.messages[0].secondDate, "20120331");
    EXPECT_EQ(p.messages[0].text, "Hello users");
    EXPECT_EQ(p.messages[0].url, "");

    ASSERT_EQ(p.libraries.size(), 1u);
    EXPECT_EQ(p.libraries[0].name, "BeamLib");
    EXPECT_EQ(p.libraries[0].date, "20120215");
    EXPECT_EQ(p.libraries[0].dateText, "15-02-2012");
    EXPECT_EQ(p.libraries[0].text, "Library text");

    ASSERT_EQ(p.addons.size(), 2u);
    const Addon& xyz = p.addons[0];
    EXPECT_EQ(xyz.code, "XYZ");
    EXPECT_EQ(xyz.versionText, "1.2.0.15");
    EXPECT_EQ(xyz.version, V(1, 2, 0, 15));
    EXPECT_EQ(xyz.hostVersion, 16u);
    EXPECT_EQ(xyz.date, "20120120");
    EXPECT_EQ(xyz.dateText, "20/01/2012");
    EXPECT_EQ(xyz.languages, (std::vector<short>{0, 1}));
    EXPECT_EQ(xyz.text, "First line\nSecond line");
    EXPECT_EQ(p.addons[1].code, "ABC");
    EXPECT_EQ(p.addons[1].text, "");
    EXPECT_TRUE(p.addons[1].languages.empty());
}

// The keyword is found anywhere in the first token, dates are not checked, and the text is split
// at the first plain http address.
TEST(VersionsFile, MessagesTheirKeywordDatesAndAddress)
{
    const Parsed p = Parse("MESSAGE\n"
                           "# See http://example.com/a for more\n"
                           "# and the next line\n"
                           "XMESSAGEX 01/01/2012\n"
                           "# Only https://example.com/secure here\n"
                           "MESSAGE abc 31-12-2013x\n"
                           "message 01/01/2012\n");
    ASSERT_EQ(p.messages.size(), 3u);
    EXPECT_EQ(p.messages[0].firstDate, "");
    EXPECT_EQ(p.messages[0].secondDate, "");
    EXPECT_EQ(p.messages[0].text, "See ");
    EXPECT_EQ(p.messages[0].url, "http://example.com/a for more\nand the next line");
    EXPECT_EQ(p.messages[1].firstDate, "20120101");
    EXPECT_EQ(p.messages[1].secondDate, "");
    EXPECT_EQ(p.messages[1].text, "Only https://example.com/secure here");
    EXPECT_EQ(p.messages[1].url, "");
    EXPECT_EQ(p.messages[2].firstDate, "ab"); // a short "date" gives a short result
    EXPECT_EQ(p.messages[2].secondDate, "20131231");
    // The keyword is case-sensitive: in lower case the line is a library with a ten-character date.
    ASSERT_EQ(p.libraries.size(), 1u);
    EXPECT_EQ(p.libraries[0].name, "message");
}

// A block drops its leading empty lines but keeps later ones, and ends at the first other line;
// lines that are ignored own no text.
TEST(VersionsFile, TextBlocksKeepTheirInnerEmptyLinesAndEndAtTheFirstOtherLine)
{
    const Parsed p = Parse("A 1.0.0.0 (HV160) 01/02/2012\n"
                           "#\n"
                           "# Hello\n"
                           "B 1.0.0.0 (HV160) 01/02/2012\n"
                           "# Hello\n"
                           "#\n"
                           "#x\n"
                           "# World\n"
                           "C 1.0.0.0 (HV160) 01/02/2012\n"
                           "#Tight\n"
                           "* a comment ends the block\n"
                           "# orphan after a comment\n"
                           "not an entry at all\n"
                           "# orphan after an ignored line\n"
                           "Lib 01-01-2013\n"
                           "# library text\n");
    ASSERT_EQ(p.addons.size(), 3u);
    EXPECT_EQ(p.addons[0].text, "Hello");
    EXPECT_EQ(p.addons[1].text, "Hello\n\n\nWorld");
    EXPECT_EQ(p.addons[2].text, "ight"); // the character after "#" is dropped whatever it is
    ASSERT_EQ(p.libraries.size(), 1u);
    EXPECT_EQ(p.libraries[0].text, "library text");
    EXPECT_TRUE(p.messages.empty());
}

TEST(VersionsFile, LineEndsOfEveryKindParseAlike)
{
    std::string const lf =
        "MESSAGE 01/01/2012\n# a http://x\n\nLib 01-01-2013\n# b\nX 1.2.3.4 (HV170) 02/02/2013 rus\n# c\n# d";
    std::string crlf, cr;
    for (char c : lf) {
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        cr += c == '\n' ? '\r' : c;
    }
    const Parsed a = Parse(lf), b = Parse(crlf), c = Parse(cr);
    for (const Parsed* other : {&b, &c}) {
        ASSERT_EQ(other->messages.size(), 1u);
        ASSERT_EQ(other->libraries.size(), 1u);
        ASSERT_EQ(other->addons.size(), 1u);
        EXPECT_EQ(other->messages[0].url, a.messages[0].url);
        EXPECT_EQ(other->libraries[0].text, a.libraries[0].text);
        EXPECT_EQ(other->addons[0].text, "c\nd");
        EXPECT_EQ(other->addons[0].languages, (std::vector<short>{6}));
    }
}

TEST(VersionsFile, LibraryLinesNeedAWellFormedTenCharacterDate)
{
    const Parsed p = Parse("Lib1 15/02-2012\n"
                           "Lib2 1-1-2012\n"
                           "Lib3 01.02.2012\n"
                           "Lib4 15-02-2012x\n"
                           "Lib5 1a-02-2012\n"
                           " Lib6 15-02-2012\n");
    ASSERT_EQ(p.libraries.size(), 1u);
    EXPECT_EQ(p.libraries[0].name, "Lib1");
    EXPECT_EQ(p.libraries[0].date, "20120215");
    EXPECT_TRUE(p.addons.empty());
}

TEST(VersionsFile, AddonLinesAcceptedAndRefused)
{
    EXPECT_TRUE(IsAddonLine("XYZ 1.2.3.4 (HV160) 01/02/2012"));
    EXPECT_TRUE(IsAddonLine("XYZ 1.2.3.4.x (HV160) 01/02/2012"));  // parts after the fourth unseen
    EXPECT_TRUE(IsAddonLine("XYZ 1..2.3 (HV160) 01/02/2012"));     // an empty part passes
    EXPECT_TRUE(IsAddonLine("XYZ 1.2.3.4 (HV160) 01-02/2012xyz")); // date length not tested
    EXPECT_TRUE(IsAddonLine("XYZ 1.2.3.4 (HV) 01/02/2012"));
    EXPECT_TRUE(IsAddonLine("XYZ 1.2.3.4 (HV160) 01/02/2012 ")); // trailing blank: empty last token

    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3 (HV160) 01/02/2012")); // one part short
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.x (HV160) 01/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.-4 (HV160) 01/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 (HV16 01/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 AC160 01/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 (HV1x0) 01/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 (ac160) 01/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 (HV160) 1/02/2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 (HV160) 01.02.2012"));
    EXPECT_FALSE(IsAddonLine("XYZ 1.2.3.4 (HV160)"));
    EXPECT_FALSE(IsAddonLine(" XYZ 1.2.3.4 (HV160) 01/02/2012")); // must begin in the first column
    EXPECT_FALSE(IsAddonLine("XYZ\t1.2.3.4\t(HV160)\t01/02/2O12"));
}

TEST(VersionsFile, AddonFieldsKeepTheirQuirks)
{
    const Parsed p = Parse("A 1.2.3.4 (HV160) 01/02/2012\n"
                           "B 70000.1..2 (HV17) 01-02/2012xyz ITA Int xyz\n"
                           "C 1.2.3.4.5 (HV5) 01/02/2012 jap \n"
                           "D 1.2.3.4 (HV) 01/02/2012\tfra\t\tRUS\n");
    ASSERT_EQ(p.addons.size(), 4u);
    EXPECT_EQ(p.addons[0].hostVersion, 16u); // the last digit is dropped
    EXPECT_EQ(p.addons[1].hostVersion, 1u);
    EXPECT_EQ(p.addons[2].hostVersion, 0u);
    EXPECT_EQ(p.addons[3].hostVersion, 0u);

    EXPECT_EQ(p.addons[1].version, V(70000u & 0xFFFFu, 1, 0, 2));
    EXPECT_EQ(p.addons[2].version, V(1, 2, 3, 4));
    EXPECT_EQ(p.addons[1].versionText, "70000.1..2");

    EXPECT_EQ(p.addons[1].date, "20120201");
    EXPECT_EQ(p.addons[1].dateText, "01-02/2012xyz");

    EXPECT_EQ(p.addons[1].languages, (std::vector<short>{0, 1}));
    EXPECT_EQ(p.addons[2].languages, (std::vector<short>{5}));
    EXPECT_EQ(p.addons[3].languages, (std::vector<short>{2, 6}));
}

TEST(VersionsFile, FormatDateCutsShortInputWithoutError)
{
    auto format = [](const char* text) {
        KF_String s(text);
        return Utf8(kf::detail::KF_AddonUpdate_FormatDate(s));
    };
    EXPECT_EQ(format("31/12/1999"), "19991231");
    EXPECT_EQ(format("01-02-20"), "200201");
    EXPECT_EQ(format("01-02"), "0201");
    EXPECT_EQ(format("7"), "7");
    EXPECT_EQ(format(""), "");
}

TEST(VersionsFile, ListsAreAppendedToAndABadByteSpoilsOnlyItsLine)
{
    KF_List<KF_AddonUpdate_Message> messages;
    KF_List<KF_AddonUpdate_Addon> addons;
    KF_List<KF_AddonUpdate_Library> libraries;
    std::string const text = "MESSAGE\nLib 01-01-2013\nX 1.0.0.0 (HV170) 01/01/2013\n";
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(text.data(), text.size(), messages, addons, libraries);
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(text.data(), text.size(), messages, addons, libraries);
    EXPECT_EQ(messages.GetCount(), 2);
    EXPECT_EQ(addons.GetCount(), 2);
    EXPECT_EQ(libraries.GetCount(), 2);

    std::string const broken = "X 1.0.0.0 (HV170) 01/01/2013\n\xC3\x28\n";
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(broken.data(), broken.size(), messages, addons, libraries);
    EXPECT_EQ(addons.GetCount(), 3);
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(nullptr, 0, messages, addons, libraries);
    EXPECT_EQ(messages.GetCount(), 2);
}
