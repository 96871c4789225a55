// KF_String conversions: the codes of the one converter, round trips, and the wrappers.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

#include <string>

using kftest::Bytes;
using kftest::Converted;
using kftest::FromU16;
using kftest::U;
using kftest::Utf8;

namespace {

using E = KF_String;

std::string ToBytes(const KF_String& s, E::Encoding enc)
{
    const KF_CString c = s.ToCStr(enc);
    return Bytes(c.bytes, long(c.length));
}

} // namespace

TEST(ConvertCodes, ArgumentErrors)
{
    char dst[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, nullptr, 3, E::Enc_UTF16LE, dst, 4, true, true), -3);
    EXPECT_EQ(dst[0], 0) << "a null source still clears the destination";
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, nullptr, 3, E::Enc_UTF16LE, nullptr, 0, true, true), -3);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_None, "a", 1, E::Enc_UTF8, nullptr, 0, true, true), -4);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_Unsupported, "a", 1, E::Enc_None, nullptr, 0, true, true), -4);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "a", 1, E::Enc_Unsupported, nullptr, 0, true, true), -5);
}

TEST(ConvertCodes, EmptySourceAndTerminators)
{
    char dst[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "", 0, E::Enc_UTF16LE, nullptr, 0, false, true), 0);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "", 0, E::Enc_UTF32BE, nullptr, 0, true, true), 4);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "", 0, E::Enc_UTF16BE, dst, 1, true, true), -2);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "", 0, E::Enc_UTF16BE, dst, 8, true, true), 2);
    EXPECT_EQ(std::string(dst, 3), std::string("\0\0\1", 3));
    // A zero first unit of a wide source is the empty text, measured in units of that width.
    const char wide[] = {0, 0, 'a', 0, 0, 0};
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF16LE, wide, 0, E::Enc_UTF8, nullptr, 0, true, true), 1);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF16LE, wide + 2, -1, E::Enc_UTF8, nullptr, 0, true, true), 2);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "abc", 0, E::Enc_UTF16LE, nullptr, 0, true, true), 8);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, "abc", -5, E::Enc_UTF32LE, nullptr, 0, true, true), 16);
}

TEST(ConvertCodes, MeasureThenConvertWithTheExactSize)
{
    const char* src = "\xC3\xA9t\xC3\xA9";
    const long need = E::ConvertChangeEncoding(E::Enc_UTF8, src, 0, E::Enc_UTF16BE, nullptr, 0, true, false);
    ASSERT_EQ(need, 8);
    char dst[8];
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, src, 0, E::Enc_UTF16BE, dst, need - 1, true, false), -2);
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, src, 0, E::Enc_UTF16BE, dst, need, true, false), 8);
    EXPECT_EQ(std::string(dst, 8), std::string("\0\xE9\0t\0\xE9\0\0", 8));
    EXPECT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, src, 0, E::Enc_UTF16BE, dst, 6, false, false), 6);
}

TEST(ConvertCodes, LossyWritesQuestionMarksAndDecodingErrorsFail)
{
    EXPECT_EQ(Converted(E::Enc_UTF8, "a\xE2\x82\xAC!", E::Enc_ISOLatin1, true), "a?!");
    EXPECT_EQ(Converted(E::Enc_UTF8, "a\xE2\x82\xAC!", E::Enc_ISOLatin1, false), "<-1>");
    EXPECT_EQ(Converted(E::Enc_UTF8, "\xF0\x9F\x98\x80", E::Enc_ASCII, true), "?") << "one mark per character";
    EXPECT_EQ(Converted(E::Enc_ASCII, "\x80", E::Enc_UTF8, true), "<-1>");
}

TEST(ConvertRoundTrip, EveryEncodingKeepsWhatItCanHold)
{
    struct Case {
        E::Encoding enc;
        std::u16string text;
        std::string bytes; // the expected form of text, when checked
    };
    const Case cases[] = {
        {E::Enc_UTF7, u"a\u00E9+", "a+AOkAKw-"},
        {E::Enc_UTF8, u"\u00E9\U0001F600", "\xC3\xA9\xF0\x9F\x98\x80"},
        {E::Enc_UTF16LE, u"\u00E9\U0001F600", std::string("\xE9\x00\x3D\xD8\x00\xDE", 6)},
        {E::Enc_UTF16BE, u"\u00E9", std::string("\x00\xE9", 2)},
        {E::Enc_UTF32LE, u"\U0001F600", std::string("\x00\xF6\x01\x00", 4)},
        {E::Enc_UTF32BE, u"\u00E9\U0001F600", std::string("\x00\x00\x00\xE9\x00\x01\xF6\x00", 8)},
        {E::Enc_ASCII, u"plain ~", "plain ~"},
        {E::Enc_MacRoman, u"\u00E9\u20AC\uFB01", "\x8E\xDB\xDE"},
        {E::Enc_WinLatin1, u"\u00E9\u20AC\u2030", "\xE9\x80\x89"},
        {E::Enc_ISOLatin1, u"\u00E9\u00FF\u0080", "\xE9\xFF\x80"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(int(c.enc));
        const KF_String s = FromU16(c.text);
        const int term = (c.enc == E::Enc_UTF16LE || c.enc == E::Enc_UTF16BE)   ? 2
                         : (c.enc == E::Enc_UTF32LE || c.enc == E::Enc_UTF32BE) ? 4
                                                                                : 1;
        std::string const bytes = ToBytes(s, c.enc);
        EXPECT_EQ(bytes, c.bytes + std::string(std::size_t(term), '\0'));
        EXPECT_EQ(E::KF_StringToCStringLenBytes(c.enc, s, 0, 0), long(c.bytes.size()));
        KF_String back;
        ASSERT_TRUE(E::CStringToKF_String(back, c.bytes.data(), unsigned(c.bytes.size()), c.enc, false));
        EXPECT_EQ(U(back), c.text);
    }
}

TEST(ConvertWrappers, CStringToKFStringAppendsOrReplaces)
{
    KF_String s = Utf8("ab");
    EXPECT_TRUE(E::CStringToKF_String(s, "cd", 0, E::Enc_UTF8, true));
    EXPECT_EQ(U(s), u"abcd");
    EXPECT_EQ(s.GetCapacity(), 5u);
    EXPECT_FALSE(E::CStringToKF_String(s, "\xFF", 1, E::Enc_UTF8, false));
    EXPECT_EQ(U(s), u"abcd") << "a failed conversion leaves the target as it was";
    EXPECT_TRUE(E::CStringToKF_String(s, nullptr, 0, E::Enc_UTF8, true));
    EXPECT_EQ(U(s), u"abcd");
    EXPECT_TRUE(E::CStringToKF_String(s, nullptr, 0, E::Enc_UTF8, false));
    EXPECT_TRUE(s.IsNull());
    EXPECT_TRUE(E::CStringToKF_String(s, "xyz", 2, E::Enc_UTF8, false));
    EXPECT_EQ(U(s), u"xy");
    EXPECT_TRUE(KF_String("\xFF", E::Enc_UTF8).IsNull());
}

TEST(ConvertWrappers, KFStringToCStringRanges)
{
    const KF_String s = Utf8("h\xC3\xA9llo");
    char* out = reinterpret_cast<char*>(1);
    unsigned int bytes = 99;
    ASSERT_TRUE(E::KF_StringToCString(&out, bytes, E::Enc_UTF8, s, 1, 2));
    EXPECT_EQ(Bytes(out, bytes), std::string("\xC3\xA9l\0", 4));
    delete[] out;
    ASSERT_TRUE(E::KF_StringToCString(&out, bytes, E::Enc_UTF8, s, 3, 99));
    EXPECT_EQ(Bytes(out, bytes), std::string("lo\0", 3));
    delete[] out;
    ASSERT_TRUE(E::KF_StringToCString(&out, bytes, E::Enc_UTF16LE, Utf8(""), 0, 0));
    EXPECT_EQ(bytes, 2u) << "an empty string converts one zero unit";
    delete[] out;
    EXPECT_FALSE(E::KF_StringToCString(&out, bytes, E::Enc_UTF8, KF_String(), 0, 0));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(bytes, 0u);
    EXPECT_FALSE(E::KF_StringToCString(&out, bytes, E::Enc_UTF8, s, 6, 0));
    EXPECT_EQ(E::KF_StringToCStringLenBytes(E::Enc_ASCII, FromU16(u"\u00E9"), 0, 0), 1) << "lossy measure";
    EXPECT_EQ(E::KF_StringToCStringLenBytes(E::Enc_UTF8, KF_String(), 0, 0), -1);

    KF_CString c = KF_String().ToCStr(E::Enc_UTF8);
    EXPECT_EQ(c.bytes, nullptr);
    EXPECT_EQ(c.length, 0u);
    EXPECT_TRUE(s.ToCStr(c, E::Enc_UTF16BE));
    EXPECT_EQ(c.length, 12u);
    EXPECT_EQ(c.encoding, E::Enc_UTF16BE);
    const KF_CString copy = c;
    EXPECT_EQ(Bytes(copy.bytes, copy.length), Bytes(c.bytes, c.length));
    EXPECT_NE(copy.bytes, c.bytes);
}

TEST(ConvertWrappers, AStringConvertsUpToItsFirstZeroUnitWhereverItIs)
{
    std::u16string units(100, u'a');
    units[50] = u'\u00E9';
    for (std::size_t zero = 0; zero < units.size(); ++zero) {
        std::u16string withZero = units;
        withZero[zero] = 0;
        const KF_String s = FromU16(withZero);
        const long want = long(zero) + (zero > 50 ? 1 : 0);
        EXPECT_EQ(E::KF_StringToCStringLenBytes(E::Enc_UTF8, s, 0, 0), want) << zero;
        EXPECT_EQ(ToBytes(s, E::Enc_UTF8).size(), std::size_t(want + 1)) << zero;
    }
}

TEST(ConvertWrappers, SystemEncodingIsReadAtEveryCall)
{
    const char* const roman = "caf\x8E";
    EXPECT_TRUE(KF_String(roman).IsNull()) << "not UTF-8";
    {
        kftest::ScopedAppEncoding scoped(Base::AppTextEncoding::MacRoman);
        EXPECT_EQ(U(KF_String(roman)), u"caf\u00E9");
        EXPECT_EQ(ToBytes(FromU16(u"\u00E9"), E::Enc_System), std::string("\x8E\0", 2));
        EXPECT_EQ(U(KF_String("x", E::Encoding(57))), u"x") << "unknown values act as the system encoding";
    }
    EXPECT_EQ(ToBytes(FromU16(u"\u00E9"), E::Enc_System), std::string("\xC3\xA9\0", 3));
}

TEST(ConvertWrappers, SingleCharacters)
{
    EXPECT_EQ(E::CharToKF_Char('a', E::Enc_UTF8), 'a');
    EXPECT_EQ(E::CharToKF_Char('\x80', E::Enc_WinLatin1), 0x20AC);
    EXPECT_EQ(E::CharToKF_Char('\x80', E::Enc_UTF8), 0) << "no character";
    EXPECT_EQ(E::KF_CharToChar(0x20AC, E::Enc_WinLatin1), '\x80');
    EXPECT_EQ(E::KF_CharToChar(0x20AC, E::Enc_UTF8), '?');
    EXPECT_EQ(E::KF_CharToChar('+', E::Enc_UTF7), '?') << "'+' needs two bytes in UTF-7";
}
