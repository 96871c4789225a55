// Byte-order marks, guessing the encoding of file text, and the UTF-8 check.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

#include <string>

using kftest::Bytes;
using kftest::U;

namespace {

using E = KF_String;

struct Detected {
    unsigned int length;
    E::Encoding enc;
};

Detected Detect(const std::string& bytes, unsigned int size)
{
    E::Encoding enc = E::Encoding(77); // untouched unless a mark is found
    const unsigned int length = E::DetectBOM(bytes.data(), size, enc);
    return {length, enc};
}

} // namespace

TEST(ByteOrderMarks, GetBOMWritesExactlyTheMark)
{
    struct Case {
        E::Encoding enc;
        std::string bytes;
    };
    const Case cases[] = {
        {E::Enc_UTF8, "\xEF\xBB\xBF"},
        {E::Enc_UTF16LE, "\xFF\xFE"},
        {E::Enc_UTF16BE, "\xFE\xFF"},
        {E::Enc_UTF32LE, std::string("\xFF\xFE\0\0", 4)},
        {E::Enc_UTF32BE, std::string("\0\0\xFE\xFF", 4)},
    };
    for (const Case& c : cases) {
        const KF_CString bom = E::GetBOM(c.enc);
        EXPECT_EQ(Bytes(bom.bytes, bom.length), c.bytes);
        EXPECT_EQ(bom.encoding, c.enc);
        EXPECT_EQ(Detect(c.bytes + "xxxx", unsigned(c.bytes.size()) + 4).length, c.bytes.size());
        EXPECT_EQ(Detect(c.bytes + "xxxx", unsigned(c.bytes.size()) + 4).enc, c.enc);
    }
    for (E::Encoding none : {E::Enc_System, E::Enc_MacRoman, E::Enc_UTF7, E::Enc_None}) {
        const KF_CString bom = E::GetBOM(none);
        EXPECT_EQ(bom.bytes, nullptr);
        EXPECT_EQ(bom.length, 0u);
    }
}

TEST(ByteOrderMarks, DetectionOrderAndSizes)
{
    std::string const le32("\xFF\xFE\0\0", 4);
    EXPECT_EQ(Detect(le32, 4).enc, E::Enc_UTF32LE);
    EXPECT_EQ(Detect(le32, 3).enc, E::Enc_UTF16LE) << "too short to be the UTF-32 mark";
    EXPECT_EQ(Detect(le32, 3).length, 2u);
    EXPECT_EQ(Detect(std::string("\xFF\xFE\0a", 4), 4).enc, E::Enc_UTF16LE);
    EXPECT_EQ(Detect("+/v8-", 5).length, 5u);
    EXPECT_EQ(Detect("+/v8-", 5).enc, E::Enc_UTF7);
    EXPECT_EQ(Detect("+/v8-", 4).length, 4u);
    EXPECT_EQ(Detect("+/v9-", 5).length, 4u);
    EXPECT_EQ(Detect("+/vA", 4).length, 0u);
    EXPECT_EQ(Detect("\xF7\x64\x4C", 3).enc, E::Enc_Unsupported);
    EXPECT_EQ(Detect("\x0E\xFE\xFF", 3).length, 3u);
    EXPECT_EQ(Detect("\xFB\xEE\x28", 3).enc, E::Enc_Unsupported);
    EXPECT_EQ(Detect("\xDD\x73\x66\x73", 4).length, 4u);
    EXPECT_EQ(Detect("\x84\x31\x95\x33", 4).enc, E::Enc_Unsupported);
    EXPECT_EQ(Detect("\xEF\xBB\xBF", 2).length, 0u);
    EXPECT_EQ(Detect("\xEF\xBB\xBF", 2).enc, E::Encoding(77));
    E::Encoding enc = E::Enc_UTF8;
    EXPECT_EQ(E::DetectBOM(nullptr, 4, enc), 0u);
}

TEST(TextToString, MarkWinsAndIsSkipped)
{
    KF_String s;
    std::string const be("\xFE\xFF\0h\0i", 6);
    EXPECT_EQ(E::TextToString(s, be.data(), 6, false, E::Enc_UTF8), E::Enc_UTF16BE);
    EXPECT_EQ(U(s), u"hi");
    EXPECT_EQ(E::TextToString(s, "\xEF\xBB\xBF", 3, true, E::Enc_None), E::Enc_UTF8);
    EXPECT_FALSE(s.IsNull());
    EXPECT_EQ(s.GetLength(), 0u);
    // An unsupported mark is reported while the rest is read in the system encoding.
    EXPECT_EQ(E::TextToString(s, "\x0E\xFE\xFFok", 5, true, E::Enc_UTF8), E::Enc_Unsupported);
    EXPECT_EQ(U(s), u"ok");
}

TEST(TextToString, GuessesWithoutAMark)
{
    KF_String s;
    EXPECT_EQ(E::TextToString(s, "plain", 5, true, E::Enc_None), E::Enc_UTF8);
    EXPECT_EQ(U(s), u"plain");
    EXPECT_EQ(E::TextToString(s, "abcd", 4, true, E::Enc_None), E::Enc_UTF8) << "too large for a UTF-32 word";
    std::string const zeros(8, '\0');
    EXPECT_EQ(E::TextToString(s, zeros.data(), 8, true, E::Enc_None), E::Enc_UTF32LE);
    std::string const le("a\0b\0c\0", 6);
    EXPECT_EQ(E::TextToString(s, le.data(), 6, true, E::Enc_None), E::Enc_UTF16LE);
    EXPECT_EQ(U(s), u"abc");
    std::string const be("\0a\0b\0c", 6);
    EXPECT_EQ(E::TextToString(s, be.data(), 6, true, E::Enc_None), E::Enc_UTF16BE);
    EXPECT_EQ(U(s), u"abc");
    std::string const be32("\0\0\0a\0\0\0b", 8);
    EXPECT_EQ(E::TextToString(s, be32.data(), 8, true, E::Enc_None), E::Enc_UTF32BE);
    EXPECT_EQ(U(s), u"ab");
    EXPECT_EQ(E::TextToString(s, "caf\xE9!", 5, true, E::Enc_UTF8), E::Enc_None) << "nothing detected";
    EXPECT_EQ(U(s), u"ab") << "the UTF-8 system encoding cannot read it: the target is left alone";
    {
        kftest::ScopedAppEncoding roman(Base::AppTextEncoding::MacRoman);
        EXPECT_EQ(E::TextToString(s, "caf\x8E!", 5, true, E::Enc_UTF8), E::Enc_None);
        EXPECT_EQ(U(s), u"caf\u00E9!");
    }
    EXPECT_EQ(E::TextToString(s, "caf\xE9!", 5, false, E::Enc_ISOLatin1), E::Enc_ISOLatin1);
    EXPECT_EQ(U(s), u"caf\u00E9!");
}

TEST(IsUTF8, MultibyteRequirementAndLimits)
{
    EXPECT_FALSE(E::IsUTF8("abc", true));
    EXPECT_TRUE(E::IsUTF8("abc", false));
    EXPECT_TRUE(E::IsUTF8("", false));
    EXPECT_FALSE(E::IsUTF8("", true));
    EXPECT_FALSE(E::IsUTF8(nullptr, false));
    EXPECT_FALSE(E::IsUTF8(nullptr, 3, false));
    EXPECT_FALSE(E::IsUTF8("a\xC3\xA9", 2, false)) << "a sequence cut by the size";
    EXPECT_TRUE(E::IsUTF8(std::string("a\0b", 3).data(), 3, false));
    std::string longAscii(1000, 'x');
    EXPECT_TRUE(E::IsUTF8(longAscii.c_str(), false));
    longAscii[777] = '\xC3';
    EXPECT_FALSE(E::IsUTF8(longAscii.c_str(), false));
}
