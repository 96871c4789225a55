// Reading numbers out of byte texts and writing them back.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>

using kftest::U;
using kftest::Utf8;

using E = KF_String;

TEST(ToLong, SkipsJunkAndMarksNoNumber)
{
    EXPECT_EQ(E::ToLong(nullptr), 0);
    EXPECT_EQ(E::ToLong(""), 0);
    EXPECT_EQ(E::ToLong("42abc"), 42);
    EXPECT_EQ(E::ToLong("abc"), LONG_MAX);
    EXPECT_EQ(E::ToLong("x-12"), -12);
    EXPECT_EQ(E::ToLong("-12"), -12);
    EXPECT_EQ(E::ToLong("x-y12"), 0) << "a minus not followed by a digit";
    EXPECT_EQ(E::ToLong("v 7.5"), 7);
    EXPECT_EQ(E::ToLong("18446744073709551617"), 1) << "overlong numbers wrap";
    EXPECT_EQ(E::ToLong("-9223372036854775808"), LONG_MIN);
}

TEST(ToULong, IgnoresSigns)
{
    EXPECT_EQ(E::ToULong("-5"), 5ul);
    EXPECT_EQ(E::ToULong(""), 0ul);
    EXPECT_EQ(E::ToULong("none"), ULONG_MAX);
    EXPECT_EQ(E::ToULong("18446744073709551615"), ULONG_MAX);
}

TEST(ToDouble, SeparatorsSignsAndExponents)
{
    EXPECT_EQ(E::ToDouble(nullptr), 0.0);
    EXPECT_DOUBLE_EQ(E::ToDouble("1,5"), 1.5);
    EXPECT_DOUBLE_EQ(E::ToDouble("x 2.25y"), 2.25);
    EXPECT_DOUBLE_EQ(E::ToDouble(".5"), 0.5);
    EXPECT_DOUBLE_EQ(E::ToDouble("a-.5"), -0.5);
    EXPECT_EQ(E::ToDouble("1."), DBL_MAX);
    EXPECT_EQ(E::ToDouble("no digits"), DBL_MAX);
    EXPECT_DOUBLE_EQ(E::ToDouble("2e3"), 2.0);
    EXPECT_DOUBLE_EQ(E::ToDouble("2E+3"), 2.0);
    EXPECT_DOUBLE_EQ(E::ToDouble("2e+3"), 2000.0);
    EXPECT_DOUBLE_EQ(E::ToDouble("-2e-2"), -0.02);
    EXPECT_DOUBLE_EQ(E::ToDouble("2e+"), 2.0);
    EXPECT_EQ(E::ToDouble("1e+99999999999999"), HUGE_VAL) << "ends, however large the exponent";
    EXPECT_EQ(E::ToDouble("1e-99999999999999"), 0.0);
}

TEST(NumberTests, IntegerAndDecimalGrammar)
{
    EXPECT_TRUE(E::IsIntegerNumber("  - 12"));
    EXPECT_TRUE(E::IsIntegerNumber("+7"));
    EXPECT_FALSE(E::IsIntegerNumber("12 "));
    EXPECT_FALSE(E::IsIntegerNumber("1-2"));
    EXPECT_FALSE(E::IsIntegerNumber("-"));
    EXPECT_FALSE(E::IsIntegerNumber(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(E::IsIntegerNumber(KF_String()));
    EXPECT_TRUE(E::IsIntegerNumber(Utf8(" 3")));
    EXPECT_FALSE(E::IsIntegerNumber(kftest::FromU16(u"\uFF13")));

    EXPECT_EQ(E::IsNumber("12."), 0);
    EXPECT_EQ(E::IsNumber(" -3,5"), 2);
    EXPECT_EQ(E::IsNumber(".5"), 2);
    EXPECT_EQ(E::IsNumber("12"), 1);
    EXPECT_EQ(E::IsNumber("1.2.3"), 0);
    EXPECT_EQ(E::IsNumber(""), 0);
    EXPECT_EQ(E::IsNumber(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(E::IsNumber(Utf8("4,25")), 2);
    EXPECT_EQ(E::IsNumber(KF_String()), 0);
}

TEST(NumberFormatting, WidthsAndTheTwoDoubleForms)
{
    EXPECT_EQ(U(E::LongToString(-42, 0)), u"-42");
    EXPECT_EQ(U(E::LongToString(42, 5)), u"   42");
    EXPECT_EQ(U(E::DoubleToString(1.5, 0, 0)), u"1.5") << "decimals 0 is the general form";
    EXPECT_EQ(U(E::DoubleToString(1.5, 0)), u"2") << "this overload rounds to 0 decimals";
    EXPECT_EQ(U(E::DoubleToString(1.25, 7, 1)), u"    1.2");
    EXPECT_EQ(U(E::DoubleToString(0.1, -1)), u"0.1");
    EXPECT_EQ(U(E::DoubleToString(3.14159, 2)), u"3.14");
    EXPECT_TRUE(E::DoubleToString(1.0, 0, 0x7FFFFFFFu).IsNull()) << "an absurd precision gives no text";
}

TEST(NumberFormatting, FormatCutsAt2047Bytes)
{
    EXPECT_EQ(U(E::Format("%s-%03d", "n", 7)), u"n-007");
    for (const auto& [length, kept] : {std::pair{2046u, 2046u}, {2047u, 2047u}, {2048u, 2047u}, {3000u, 2047u}}) {
        std::string const text(length, 'x');
        EXPECT_EQ(E::Format("%s", text.c_str()).GetLength(), kept) << length;
    }
    EXPECT_TRUE(E::Format(nullptr).IsNull());
}
