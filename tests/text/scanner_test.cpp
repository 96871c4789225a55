// KF_Text_Scanner: what each read returns and where it leaves the cursor.
#include "KF/KF_Text_Scanner.hpp"

#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

using kftest::U;
using kftest::Utf8;

namespace {

KF_Text_Scanner Over(const char* text)
{
    KF_Text_Scanner scanner;
    scanner.Set(Utf8(text));
    return scanner;
}

} // namespace

TEST(Scanner, SetCopiesAndRewinds)
{
    KF_Text_Scanner scanner;
    EXPECT_EQ(scanner.text, nullptr);
    EXPECT_TRUE(scanner.ReadToken(2, true).IsNull());
    KF_String source = Utf8("ab");
    scanner.Set(source);
    source.SetUCharAt(0, 'X');
    EXPECT_EQ(scanner.length, 2u);
    EXPECT_EQ(scanner.text[0], 'a');
    EXPECT_EQ(scanner.text[2], 0);
    scanner.position = 2;
    scanner.Set(KF_String());
    EXPECT_EQ(scanner.text, nullptr);
    EXPECT_EQ(scanner.position, 0u);
    const KF_Text_Scanner copy = Over("xy");
    EXPECT_EQ(copy.text[1], 'y');
}

TEST(Scanner, ReadLineHandlesEveryLineEnd)
{
    KF_Text_Scanner s = Over("x\r\ny\rz\n\nw");
    EXPECT_EQ(U(s.ReadLine(true, false)), u"x\r\n");
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(U(s.ReadLine(false, true)), u"x");
    EXPECT_EQ(s.position, 3u) << "on the y";
    EXPECT_EQ(U(s.ReadLine(true, true)), u"y\r");
    EXPECT_EQ(U(s.ReadLine(false, true)), u"z");
    const KF_String empty = s.ReadLine(false, true);
    EXPECT_TRUE(empty.IsNull()) << "an empty line is the null string";
    EXPECT_EQ(U(s.ReadLine(false, true)), u"w");
    EXPECT_EQ(s.position, s.length);
    EXPECT_TRUE(s.ReadLine(false, true).IsNull());
}

TEST(Scanner, ReadTokenSkipModes)
{
    KF_Text_Scanner s = Over("a b");
    EXPECT_EQ(U(s.ReadToken(0, true)), u"a");
    EXPECT_EQ(s.position, 1u);
    EXPECT_EQ(U(s.ReadToken(2, true)), u"b");
    EXPECT_EQ(s.position, 3u);
    EXPECT_TRUE(s.ReadToken(2, true).IsNull());

    KF_Text_Scanner t = Over(" \n /* c */ tok next");
    EXPECT_TRUE(t.ReadToken(0, false).IsNull());
    EXPECT_TRUE(t.ReadToken(1, false).IsNull()) << "mode 1 stops at the line feed";
    EXPECT_EQ(U(t.ReadToken(2, false)), u"/*");
    EXPECT_EQ(U(t.ReadToken(3, false)), u"tok");
    EXPECT_EQ(t.position, 0u);
    EXPECT_EQ(U(t.ReadToken(3, true)), u"tok");
    EXPECT_EQ(t.position, 14u);
}

TEST(Scanner, SkipSpacesTabsEOLsComments)
{
    KF_Text_Scanner s = Over(" /* c */\tx");
    EXPECT_EQ(s.SkipSpacesTabsEOLsComments(false), 9u);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.SkipSpacesTabsEOLsComments(true), 9u);
    EXPECT_EQ(s.position, 9u);
    KF_Text_Scanner slash = Over("  //x");
    EXPECT_EQ(slash.SkipSpacesTabsEOLsComments(true), 2u) << "line comments are not comments";
    KF_Text_Scanner all = Over("/**/ /* a */");
    EXPECT_EQ(all.SkipSpacesTabsEOLsComments(true), all.length);
}

TEST(Scanner, UnclosedCommentRestartsOnceThenEnds)
{
    // Back to the second unit, which here is a non-blank: the scan stops there.
    KF_Text_Scanner s = Over("ab /* open");
    s.position = 3;
    EXPECT_EQ(s.SkipSpacesTabsEOLsComments(true), 1u);
    // Everything from the second unit on is blank up to the unclosed comment: end of text.
    KF_Text_Scanner loop = Over("x  /* open");
    loop.position = 1;
    EXPECT_EQ(loop.SkipSpacesTabsEOLsComments(true), loop.length);
    KF_Text_Scanner tail = Over("/*");
    EXPECT_EQ(tail.SkipSpacesTabsEOLsComments(false), 1u);
}

TEST(Scanner, ReadLongCursorRules)
{
    long value = 99;
    KF_Text_Scanner s = Over(" -12 ");
    EXPECT_TRUE(s.ReadLong(value, 2, true));
    EXPECT_EQ(value, -12);
    EXPECT_EQ(s.position, 4u);

    KF_Text_Scanner bad = Over("  abc");
    value = 5;
    EXPECT_FALSE(bad.ReadLong(value, 2, true));
    EXPECT_EQ(value, 5);
    EXPECT_EQ(bad.position, 2u) << "behind the skipped blanks";
    bad.position = 0;
    EXPECT_FALSE(bad.ReadLong(value, 2, false));
    EXPECT_EQ(bad.position, 0u);

    KF_Text_Scanner peek = Over(" 7 8");
    EXPECT_TRUE(peek.ReadLong(value, 2, false));
    EXPECT_EQ(value, 7);
    EXPECT_EQ(peek.position, 0u);

    KF_Text_Scanner end = Over("5");
    end.position = 1;
    EXPECT_TRUE(end.ReadLong(value, 2, true)) << "the empty token counts as an integer";
    EXPECT_EQ(value, 0);
    KF_Text_Scanner dash = Over("- x");
    EXPECT_TRUE(dash.ReadLong(value, 0, true));
    EXPECT_EQ(value, 0);
}

TEST(Scanner, IsIntegerAcceptsEmptyAndDash)
{
    KF_Text_Scanner s;
    for (const auto& [text, integer] :
         {std::pair{u"", true}, {u"-", true}, {u"-10", true}, {u"1-0", false}, {u"\u0661", false}}) {
        KF_String token = kftest::FromU16(text);
        EXPECT_EQ(s.IsInteger(token), integer) << kftest::Hex(std::u16string_view(text));
    }
}

TEST(Scanner, ReadDoubleQuotedStringKeepsEscapes)
{
    KF_String value;
    KF_Text_Scanner s = Over("  \"a\\\"b\" rest");
    EXPECT_TRUE(s.ReadDoubleQuotedString(value, 2, true));
    EXPECT_EQ(U(value), u"a\\\"b");
    EXPECT_EQ(s.position, 8u);

    KF_Text_Scanner empty = Over("\"\"");
    value = Utf8("old");
    EXPECT_TRUE(empty.ReadDoubleQuotedString(value, 0, false));
    EXPECT_TRUE(value.IsNull());
    EXPECT_EQ(empty.position, 0u);

    KF_Text_Scanner open = Over("  \"never closed");
    EXPECT_FALSE(open.ReadDoubleQuotedString(value, 2, true));
    EXPECT_EQ(open.position, 2u) << "the skip is kept even though the read failed";
    KF_Text_Scanner none = Over("  x");
    EXPECT_FALSE(none.ReadDoubleQuotedString(value, 2, false));
    EXPECT_EQ(none.position, 0u);
}

TEST(Scanner, FindTextMovesByTheBytesOfTheText)
{
    KF_Text_Scanner s = Over("ab\xC3\xA9xy\xC3\xA9");
    EXPECT_EQ(s.FindText("x", 0, false), 3u);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.FindText("\xC3\xA9", 0, true, KF_String::Enc_UTF8), 2u);
    EXPECT_EQ(s.position, 4u) << "two bytes past a one-unit match";
    EXPECT_EQ(s.FindText("\xC3\xA9", 3, true, KF_String::Enc_UTF8), 5u);
    EXPECT_EQ(s.position, s.length) << "never past the end";
    s.position = 1;
    EXPECT_EQ(s.FindText("q", 0, true), KF_Text_Scanner::NotFound);
    EXPECT_EQ(s.position, s.length);
    s.position = 1;
    EXPECT_EQ(s.FindText("a", s.length, true), KF_Text_Scanner::NotFound);
    EXPECT_EQ(s.position, 1u) << "from equal to length does not move the cursor";
    EXPECT_EQ(s.FindText("", 0, true), KF_Text_Scanner::NotFound);
    EXPECT_EQ(s.FindText(nullptr, 0, true), KF_Text_Scanner::NotFound);
    EXPECT_EQ(s.position, 1u);
}
