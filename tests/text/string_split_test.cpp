// KF_String: the three splits, with the exact pieces and which of them are null.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

using kftest::Pieces;
using kftest::Utf8;

using Units = std::vector<std::u16string>;
using Nulls = std::vector<bool>;

TEST(StringSplit, SeparatorCutsEveryOccurrence)
{
    KF_List<KF_String> out;
    Nulls nulls;
    Utf8("a,,b,").Split(out, ',');
    EXPECT_EQ(Pieces(out, &nulls), (Units{u"a", u"", u"b", u""}));
    EXPECT_EQ(nulls, (Nulls{false, true, false, true})) << "empty pieces are null strings";
    Utf8("a;b").Split(out, ';');
    EXPECT_EQ(Pieces(out), (Units{u"a", u"b"})) << "the list is emptied first";
    nulls.clear();
    Utf8("").Split(out, ';');
    EXPECT_EQ(Pieces(out, &nulls), (Units{u""}));
    EXPECT_EQ(nulls, (Nulls{true}));
    KF_String().Split(out, ';');
    EXPECT_EQ(out.count, 1);
    EXPECT_TRUE(out[0].IsNull());
}

TEST(StringSplit, RunsOfBlanksCutOnce)
{
    KF_List<KF_String> out;
    Nulls nulls;
    Utf8(" a \t b ").SplitBySpaces(out);
    EXPECT_EQ(Pieces(out, &nulls), (Units{u"", u"a", u"b", u""}));
    EXPECT_EQ(nulls, (Nulls{true, false, false, true}));
    Utf8("one").SplitBySpaces(out);
    EXPECT_EQ(Pieces(out), (Units{u"one"}));
    Utf8("x\ny").SplitBySpaces(out);
    EXPECT_EQ(Pieces(out), (Units{u"x\ny"})) << "line ends are not blanks here";
}

TEST(StringSplit, LinesWithAndWithoutTheirEnds)
{
    KF_List<KF_String> out;
    Nulls nulls;
    Utf8("x\r\ny\n").SplitLines(out, true, true);
    EXPECT_EQ(Pieces(out, &nulls), (Units{u"x", u"y", u""}));
    EXPECT_EQ(nulls.back(), true);
    Utf8("a\rb\r\n\nc").SplitLines(out, false, true);
    EXPECT_EQ(Pieces(out), (Units{u"a\r", u"b\r\n", u"\n", u"c"}));
    Utf8("a\rb\r\n\nc").SplitLines(out, true, true);
    EXPECT_EQ(Pieces(out), (Units{u"a", u"b", u"", u"c"}));
    Utf8("\r\r\n").SplitLines(out, true, true);
    EXPECT_EQ(Pieces(out), (Units{u"", u"", u""}));
}

TEST(StringSplit, LinesAppendUnlessReset)
{
    KF_List<KF_String> out;
    Utf8("a\nb").SplitLines(out, true, true);
    Utf8("c").SplitLines(out, true, false);
    KF_String().SplitLines(out, true, false);
    EXPECT_EQ(Pieces(out), (Units{u"a", u"b", u"c", u""}));
    EXPECT_TRUE(out[3].IsNull());
}
