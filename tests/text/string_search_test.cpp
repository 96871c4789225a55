// KF_String: comparison, case, search, trim and replace.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

using kftest::FromU16;
using kftest::U;
using kftest::Utf8;

TEST(StringCompare, NullSortsBeforeEverything)
{
    const KF_String null;
    const KF_String empty("");
    EXPECT_EQ(KF_String::Compare(null, 0, empty, 0, 0), -1);
    EXPECT_EQ(KF_String::Compare(null, 0, null, 0, 0), 0);
    EXPECT_EQ(KF_String::Compare(empty, 0, null, 0, 0), 1);
    EXPECT_EQ(KF_String::Compare(empty, 0, empty, 0, 0), 0);
    EXPECT_TRUE(null < empty);
    EXPECT_FALSE(null == empty);
}

TEST(StringCompare, OffsetsAndCountLimitTheRange)
{
    const KF_String a = Utf8("xxabcd");
    const KF_String b = Utf8("abce");
    EXPECT_EQ(KF_String::Compare(a, 2, b, 0, 3), 0);
    EXPECT_EQ(KF_String::Compare(a, 2, b, 0, 4), -1);
    EXPECT_EQ(KF_String::Compare(a, 2, b, 0, 0), -1) << "count 0 compares to the end";
    EXPECT_EQ(KF_String::Compare(Utf8("ab"), 0, Utf8("abc"), 0, 0), -1);
    EXPECT_EQ(KF_String::Compare(a, 9, Utf8(""), 0, 0), 0) << "an offset past the end is the empty rest";
    EXPECT_TRUE(Utf8("abc") < Utf8("abd"));
    EXPECT_TRUE(Utf8("abc") >= Utf8("abc"));
    EXPECT_TRUE(FromU16(u"\uFFFF") > Utf8("z")) << "units compare as unsigned 16-bit values";
    EXPECT_EQ(KF_String::CompareIgnoreCase(Utf8("HeLLo"), 0, Utf8("hello"), 0, 0), 0);
    EXPECT_EQ(KF_String::CompareIgnoreCase(FromU16(u"\u00C9T\u00C9"), 0, FromU16(u"\u00E9t\u00E9"), 0, 0), 0);
}

TEST(StringCompare, ByteHelpersAndTheirZeroCounts)
{
    EXPECT_FALSE(KF_String::Equals(nullptr, "a"));
    EXPECT_TRUE(KF_String::Equals("abc", "abc"));
    EXPECT_TRUE(KF_String::Equals("abcX", "abcY", 3));
    EXPECT_FALSE(KF_String::Equals("abcX", "abcY", 0)) << "count 0 compares the whole texts";
    EXPECT_TRUE(KF_String::EqualsIgnoreCase("ABC", "abc"));
    EXPECT_TRUE(KF_String::EqualsIgnoreCase("ABx", "aby", 2));
    EXPECT_FALSE(KF_String::EqualsIgnoreCase("abc", "abc", 0)) << "deliberately unlike Equals";
    EXPECT_EQ(KF_String::Compare(nullptr, "a"), -10);
    EXPECT_EQ(KF_String::CompareIgnoreCase("a", nullptr), -10);
    EXPECT_EQ(KF_String::Compare("a", "b"), -1);
    EXPECT_EQ(KF_String::Compare("\x80", "a"), -1) << "bytes compare as signed values";
    EXPECT_EQ(KF_String::Compare("ab", "a"), 1);
    EXPECT_EQ(KF_String::CompareIgnoreCase("ABC", "abd"), -1);
}

TEST(StringCase, MapsUnitsOneByOne)
{
    EXPECT_EQ(U(FromU16(u"Stra\u00DFe \u0391\u03B2").ToUpperCase()), u"STRA\u00DFE \u0391\u0392");
    EXPECT_EQ(U(Utf8("MiXeD").ToLowerCase()), u"mixed");
    EXPECT_TRUE(KF_String().ToLowerCase().IsNull());
    EXPECT_EQ(KF_CharToLowerCase(0xD800), 0xD800);
    EXPECT_EQ(KF_CharToUpperCase('q'), 'Q');
}

TEST(StringSearch, ForwardAndBackward)
{
    const KF_String s = Utf8("abcabc");
    EXPECT_EQ(s.IndexOf(Utf8("bc"), 0), 1u);
    EXPECT_EQ(s.IndexOf(Utf8("bc"), 2), 4u);
    EXPECT_EQ(s.IndexOf(Utf8("bc"), 5), KF_String::NotFound);
    EXPECT_EQ(s.IndexOf(Utf8(""), 0), KF_String::NotFound);
    EXPECT_EQ(s.IndexOf(KF_String(), 0), KF_String::NotFound);
    EXPECT_EQ(KF_String().IndexOf(Utf8("a"), 0), KF_String::NotFound);
    EXPECT_EQ(s.IndexOf(Utf8("abcabcd"), 0), KF_String::NotFound);
    EXPECT_EQ(s.IndexOfIgnoreCase(Utf8("CA"), 0), 2u);

    EXPECT_EQ(s.LastIndexOf(Utf8("abc")), 3u);
    EXPECT_EQ(s.LastIndexOf(Utf8("abc"), 2), 0u) << "a match starting at or before from";
    EXPECT_EQ(s.LastIndexOf(Utf8("abc"), 6), KF_String::NotFound) << "from equal to length";
    EXPECT_EQ(s.LastIndexOf(Utf8("c"), 5), 5u);

    EXPECT_EQ(s.IndexOf('c', 3), 5u);
    EXPECT_EQ(s.IndexOf('\0', 0), KF_String::NotFound);
    EXPECT_EQ(s.LastIndexOf('a'), 3u);
    EXPECT_EQ(s.LastIndexOf('a', 2), 0u);
    EXPECT_EQ(s.LastIndexOf('z'), KF_String::NotFound);
    EXPECT_EQ(Utf8("").LastIndexOf('a'), KF_String::NotFound);
}

TEST(StringSearch, StartsAndEndsWith)
{
    const KF_String s = Utf8("prefix-body");
    EXPECT_TRUE(s.StartsWith(Utf8("pre"), 0));
    EXPECT_TRUE(s.StartsWith(Utf8("body"), 7));
    EXPECT_FALSE(s.StartsWith(Utf8("body!"), 7));
    EXPECT_FALSE(s.StartsWith(Utf8(""), 0));
    EXPECT_FALSE(s.StartsWith(Utf8("x"), 11));
    EXPECT_FALSE(KF_String().StartsWith(Utf8("p"), 0));
    EXPECT_TRUE(s.EndsWith(Utf8("body")));
    EXPECT_FALSE(s.EndsWith(Utf8("")));
    EXPECT_FALSE(Utf8("dy").EndsWith(Utf8("body")));
}

TEST(StringTrim, BlanksAreSpacesAndOptionallyTabs)
{
    const KF_String s = Utf8(" \ta b\t ");
    EXPECT_EQ(U(s.THIS_Trim(true, true, false)), u"\ta b\t");
    EXPECT_EQ(U(s.THIS_Trim(true, true, true)), u"a b");
    EXPECT_EQ(U(s.THIS_Trim(false, true, true)), u" \ta b");
    EXPECT_EQ(U(s.THIS_Trim(true, false, true)), u"a b\t ");
    const KF_String blank = Utf8("   ");
    for (bool left : {false, true}) {
        const KF_String t = blank.THIS_Trim(left, !left, false);
        EXPECT_FALSE(t.IsNull());
        EXPECT_EQ(t.GetLength(), 0u);
    }
    EXPECT_TRUE(KF_String().THIS_Trim(true, true, true).IsNull());
}

TEST(StringReplace, AllOccurrencesLeftToRight)
{
    EXPECT_EQ(U(Utf8("aaaa").Replace(Utf8("aa"), Utf8("b"))), u"bb");
    EXPECT_EQ(U(Utf8("a.b.c").Replace(Utf8("."), Utf8("::"))), u"a::b::c");
    const KF_String removed = Utf8("xx").Replace(Utf8("x"), Utf8(""));
    EXPECT_FALSE(removed.IsNull());
    EXPECT_EQ(removed.GetLength(), 0u);
    EXPECT_TRUE(Utf8("abc").Replace(Utf8("z"), KF_String()).IsNull()) << "a null with gives null";
    EXPECT_TRUE(KF_String().Replace(Utf8("a"), Utf8("b")).IsNull());
    EXPECT_EQ(U(Utf8("abc").Replace(Utf8(""), Utf8("x"))), u"abc");
    EXPECT_EQ(U(Utf8("a-b").Replace("-", "+")), u"a+b");
    EXPECT_EQ(U(Utf8("a-b-").Replace('-', '_')), u"a_b_");
}

TEST(StringReplace, OneBasedInclusiveRangeInPlace)
{
    KF_String s = Utf8("hello");
    s.Replace(1, 1, Utf8("J"));
    EXPECT_EQ(U(s), u"Jello");
    s.Replace(0, 2, Utf8("x"));
    EXPECT_EQ(U(s), u"Jello");
    s.Replace(4, 99, Utf8("ly"));
    EXPECT_EQ(U(s), u"Jelly");
    s.Replace(3, 2, Utf8("x"));
    s.Replace(6, 6, Utf8("x"));
    EXPECT_EQ(U(s), u"Jelly");
    s.Replace(2, 4, KF_String());
    EXPECT_EQ(U(s), u"Jy");
    s.Replace(1, 2, s);
    EXPECT_EQ(U(s), u"Jy");
}

TEST(StringReplace, RepeatedSequence)
{
    EXPECT_EQ(U(KF_String::RepeatedSequence(Utf8("ab"), 3)), u"ababab");
    const KF_String none = KF_String::RepeatedSequence(Utf8("ab"), 0);
    EXPECT_FALSE(none.IsNull());
    EXPECT_EQ(none.GetLength(), 0u);
    EXPECT_TRUE(KF_String::RepeatedSequence(Utf8("ab"), -1).IsNull());
    EXPECT_TRUE(KF_String::RepeatedSequence(KF_String(), 2).IsNull());
    EXPECT_TRUE(KF_String::RepeatedSequence(Utf8("ab"), 1L << 40).IsNull()) << "too long for any string";
}
