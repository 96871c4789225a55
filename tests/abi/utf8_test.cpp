// The same bytes become the same text on both sides of the table: the sdk's Base::UniString and the
// host decode with one decoder, one U+FFFD per maximal ill-formed subpart.
#include "HostUniString.hpp"
#include "kfhost/Text.hpp"

#include <gtest/gtest.h>

namespace {

TEST(Utf8, BothSidesDecodeTheSameBytesAlike)
{
    struct Case {
        std::string_view bytes;
        std::u16string_view text;
        std::optional<std::size_t> firstInvalid;
    };
    const Case cases[] = {
        {"plain", u"plain", {}},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E9\u20AC\U0001F600", {}},
        {"a\xE1\x80"
         "b",
         u"a\uFFFDb", 1},                           // a truncated sequence is one subpart
        {"\xF0\x9F\x98", u"\uFFFD", 0},             // cut at the end of the text
        {"\xF0\x80\x80", u"\uFFFD\uFFFD\uFFFD", 0}, // overlong: every byte stands alone
        {"\xC0\xAF", u"\uFFFD\uFFFD", 0},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", 0},           // an encoded surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", 0}, // beyond U+10FFFF
        {"x\xFFy\x80", u"x\uFFFDy\uFFFD", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(c.bytes)));
        const Base::UniString addOnSide = Base::UniString::FromUTF8(c.bytes);
        const std::u16string hostSide = kfhost::FromUTF8(c.bytes);
        EXPECT_EQ(hostSide, c.text);
        EXPECT_EQ(std::u16string_view(reinterpret_cast<const char16_t*>(addOnSide.ToUStr()), addOnSide.GetLength()),
                  hostSide);
        EXPECT_EQ(kfhost::FindInvalidUTF8(c.bytes), c.firstInvalid);
    }
}

} // namespace
