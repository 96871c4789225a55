// KF_String: its two empty states, storage rules, access, substrings, concatenation.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

using kftest::FromU16;
using kftest::U;
using kftest::Utf8;

TEST(StringStates, NullAndEmptyDifferWhereSaid)
{
    EXPECT_TRUE(KF_String().IsNull());
    EXPECT_TRUE(KF_String(static_cast<const char*>(nullptr)).IsNull());
    const KF_String empty("");
    EXPECT_FALSE(empty.IsNull());
    EXPECT_EQ(empty.GetLength(), 0u);
    EXPECT_EQ(empty.Units()[0], 0);

    const unsigned short units[] = {'h', 'i', 0};
    EXPECT_TRUE(KF_String(units, 0u).IsNull()) << "a count of 0 gives the null string";
    EXPECT_TRUE(KF_String(static_cast<const unsigned short*>(nullptr), 2u).IsNull());
    EXPECT_TRUE(KF_String(static_cast<const unsigned short*>(nullptr)).IsNull());
    EXPECT_EQ(U(KF_String(units)), u"hi");
    const unsigned short none[] = {0};
    EXPECT_FALSE(KF_String(none).IsNull());

    EXPECT_TRUE(KF_String(KF_String()).IsNull()) << "a copy of the null string is null";
    EXPECT_FALSE(KF_String(empty).IsNull());
}

TEST(StringStates, TakingOverLeavesTheSourceNull)
{
    KF_String source = Utf8("abc");
    const unsigned short* const buffer = source.Units();
    KF_String taken(&source);
    EXPECT_EQ(taken.Units(), buffer) << "the buffer changes hands, it is not copied";
    EXPECT_TRUE(source.IsNull());
    EXPECT_EQ(source.GetCapacity(), 0u);
}

TEST(StringStates, AssignmentIsDeepAndSelfSafe)
{
    KF_String a = Utf8("one");
    KF_String b;
    b = a;
    a.SetUCharAt(0, 'O');
    EXPECT_EQ(U(b), u"one");
    const KF_String& same = b;
    b = same;
    EXPECT_EQ(U(b), u"one");
    b = KF_String();
    EXPECT_TRUE(b.IsNull());
    b = "x";
    EXPECT_EQ(U(b), u"x");
    b = static_cast<const char*>(nullptr);
    EXPECT_TRUE(b.IsNull());
}

TEST(StringStorage, AppendingGrowsToTheExactSize)
{
    KF_String s = Utf8("ab");
    EXPECT_EQ(s.GetCapacity(), 3u);
    s += "cd";
    EXPECT_EQ(s.GetCapacity(), 5u);
    s += s;
    EXPECT_EQ(U(s), u"abcdabcd");
    EXPECT_EQ(s.GetCapacity(), 9u);
}

TEST(StringStorage, SetSizeCutsAndTerminates)
{
    KF_String s = Utf8("abcdef");
    s.SetSize(4, true);
    EXPECT_EQ(U(s), u"abc");
    EXPECT_EQ(s.Units()[3], 0);
    EXPECT_EQ(s.GetCapacity(), 4u);
    s.SetSize(10, true);
    EXPECT_EQ(U(s), u"abc");
    EXPECT_EQ(s.GetCapacity(), 10u);
    s.SetSize(10, false);
    EXPECT_FALSE(s.IsNull());
    EXPECT_EQ(s.GetLength(), 0u);
    s.SetToNullString();
    EXPECT_TRUE(s.IsNull());
}

TEST(StringConcatenation, NullOperandsAndSystemBytes)
{
    const KF_String null;
    EXPECT_TRUE((null + "").IsNull()) << "appending nothing to the null string keeps it null";
    EXPECT_EQ(U(null + "ab"), u"ab");
    EXPECT_EQ(U("x" + Utf8("y")), u"xy");
    EXPECT_EQ(U(Utf8("a") + Utf8("b") + "c"), u"abc");
    KF_String s;
    s += Utf8("\xC3\xA9");
    EXPECT_EQ(U(s), u"\u00E9");
}

TEST(StringConcatenation, SetCatTakesUpToThreePieces)
{
    KF_String s;
    s.SetCat("abc", 2, nullptr, 0, "xyz", 0);
    EXPECT_EQ(U(s), u"abxyz");
    s.SetCat("a\0bc", 4, "", 0, "q", 9); // each piece stops at its terminator
    EXPECT_EQ(U(s), u"aq");
    s.SetCat(nullptr, 0, nullptr, 0, nullptr, 0);
    EXPECT_TRUE(s.IsNull());
    s.SetCat("", 0, nullptr, 0, nullptr, 0);
    EXPECT_FALSE(s.IsNull());
    EXPECT_EQ(KF_String::Length("abc"), 3u);
    EXPECT_EQ(KF_String::Length(nullptr), 0u);
}

TEST(StringAccess, OutOfRangeGivesNeutralAnswers)
{
    KF_String s = FromU16(u"a\u00E9\u20AC");
    EXPECT_EQ(s.UCharAt(1), 0xE9);
    EXPECT_EQ(s.UCharAt(3), 0);
    EXPECT_EQ(KF_String().UCharAt(0), 0);
    EXPECT_EQ(s.CharAt(0), 'a');
    EXPECT_EQ(s.CharAt(1), '?') << "no single UTF-8 byte for U+00E9";
    EXPECT_EQ(s.CharAt(9), 0);
    s.SetUCharAt(3, 'z');
    s.SetCharAt(3, 'z');
    EXPECT_EQ(U(s), u"a\u00E9\u20AC");
    s.SetCharAt(0, 'b');
    s.SetCharAt(1, '\xE9'); // not a character of UTF-8 on its own: left alone
    EXPECT_EQ(U(s), u"b\u00E9\u20AC");
}

TEST(StringAccess, CharConversionsFollowTheApplicationEncoding)
{
    kftest::ScopedAppEncoding roman(Base::AppTextEncoding::MacRoman);
    KF_String s = FromU16(u"\u00E9\u20AC\u4E00");
    EXPECT_EQ(static_cast<unsigned char>(s.CharAt(0)), 0x8E);
    EXPECT_EQ(static_cast<unsigned char>(s.CharAt(1)), 0xDB);
    EXPECT_EQ(s.CharAt(2), '?');
    s.SetCharAt(2, '\x8E');
    EXPECT_EQ(s.UCharAt(2), 0xE9);
    EXPECT_EQ(U(KF_String("\x8E")), u"\u00E9");
}

TEST(StringSubstrings, BoundsGiveEmptyOrNull)
{
    const KF_String s = Utf8("hello");
    EXPECT_EQ(U(s.Substring(1)), u"ello");
    EXPECT_FALSE(s.Substring(5).IsNull());
    EXPECT_EQ(s.Substring(5).GetLength(), 0u);
    EXPECT_TRUE(s.Substring(6).IsNull());
    EXPECT_EQ(U(s.Substring(1, 3)), u"ell");
    EXPECT_EQ(U(s.Substring(3, 99)), u"lo");
    EXPECT_FALSE(s.Substring(2, 0).IsNull());
    EXPECT_TRUE(KF_String().Substring(0).IsNull());

    EXPECT_EQ(U(s.EndSubstring(2, 0)), u"lo");
    EXPECT_EQ(U(s.EndSubstring(3, 1)), u"ell");
    EXPECT_EQ(U(s.EndSubstring(5, 0)), u"hello");
    EXPECT_TRUE(s.EndSubstring(5, 1).IsNull());
    EXPECT_TRUE(s.EndSubstring(0, 6).IsNull());
    EXPECT_TRUE(s.EndSubstring(0xFFFFFFFFu, 2).IsNull()) << "no wrap-around in count + skip";
    EXPECT_FALSE(s.EndSubstring(0, 5).IsNull());
}
