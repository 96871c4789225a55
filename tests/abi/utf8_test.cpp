// The same bytes become the same text on both sides of the table: the sdk's Base::UniString and the
// host decode with the one decoder of kfsdk/Utf8.hpp, one U+FFFD per maximal ill-formed subpart,
// checked against the tests' own table of well-formed sequences.
#include "../text/Utf8Reference.hpp"
#include "HostUniString.hpp"
#include "kfhost/Text.hpp"

#include <gtest/gtest.h>

namespace {

namespace ref = kftest::utf8ref;

std::u16string AddOnSide(std::string_view bytes)
{
    const Base::UniString s = Base::UniString::FromUTF8(bytes);
    return std::u16string(reinterpret_cast<const char16_t*>(s.ToUStr()), s.GetLength());
}

// Where the reference first meets a byte that does not start a character.
std::optional<std::size_t> FirstInvalid(std::string_view bytes)
{
    const auto* p = reinterpret_cast<const std::uint8_t*>(bytes.data());
    for (std::size_t i = 0; i < bytes.size();) {
        const int length = ref::At(p + i, bytes.size() - i).length;
        if (length == 0) {
            return i;
        }
        i += std::size_t(length);
    }
    return std::nullopt;
}

TEST(Utf8, BothSidesDecodeEveryEdgeAndEncodeEveryValueAsTheDefinitionSays)
{
    // Every sequence of one to three bytes from the edges of the length classes, and four-byte
    // ones from the four-byte leads, each behind a ".".
    const unsigned char edges[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2,
                                   0xDF, 0xE0, 0xE1, 0xED, 0xEE, 0xEF, 0xF0, 0xF3, 0xF4, 0xF5, 0xFF};
    std::string bytes;
    for (unsigned char a : edges) {
        bytes += {'.', char(a)};
        for (unsigned char b : edges) {
            bytes += {'.', char(a), char(b)};
            for (unsigned char c : edges) {
                bytes += {'.', char(a), char(b), char(c)};
                if (a >= 0xF0) {
                    bytes += {'.', char(a), char(b), char(c), '\x80', '.', char(a), char(b), char(c), '\xBF'};
                }
            }
        }
    }
    // ... and every scalar value, which both sides also encode back.
    std::string everyValue;
    std::u16string units;
    ref::EveryScalarValue(0, 0x10FFFF, everyValue, units);
    EXPECT_TRUE(kfhost::ToUTF8(units) == everyValue);
    EXPECT_EQ(kfhost::FindInvalidUTF8(everyValue), std::nullopt);
    const Base::UniString s(reinterpret_cast<const Base::uchar_t*>(units.data()), USize(units.size()));
    EXPECT_TRUE(s.ToUTF8() == everyValue);
    bytes += everyValue;
    std::u16string const want = ref::DecodeReplacing(bytes);
    EXPECT_TRUE(kfhost::FromUTF8(bytes) == want);
    EXPECT_TRUE(AddOnSide(bytes) == want);
    EXPECT_EQ(kfhost::FindInvalidUTF8(bytes), FirstInvalid(bytes));
    // Cut at the very end.
    for (std::string_view cut : {"\xC2", "\xE0\xA0", "\xF0\x90\x80", "\xF4\x8F\xBF"}) {
        EXPECT_EQ(kfhost::FromUTF8(cut), u"\uFFFD");
        EXPECT_EQ(AddOnSide(cut), u"\uFFFD");
        EXPECT_EQ(kfhost::FindInvalidUTF8(cut), std::optional<std::size_t>(0));
    }
    // Lone surrogates are encoded as one U+FFFD each.
    std::u16string const lone = u"a\xD800"
                                u"b\xDC00\xDBFF\xDFFF\xDFFF\xD800";
    std::string const replaced = "a\xEF\xBF\xBD"
                                 "b\xEF\xBF\xBD\xF4\x8F\xBF\xBF\xEF\xBF\xBD\xEF\xBF\xBD";
    EXPECT_EQ(kfhost::ToUTF8(lone), replaced);
    const Base::UniString l(reinterpret_cast<const Base::uchar_t*>(lone.data()), USize(lone.size()));
    EXPECT_EQ(l.ToUTF8(), replaced);
}

} // namespace
