// Text at the edges of Unicode through every conversion route: the first and last code point of
// each UTF-8 length class, the surrogate range, the first supplementary character, U+10FFFF, and
// the ill-formed forms around them. Random texts meet these values too rarely to be relied on.
#include "TextTestSupport.hpp"
#include "Utf8Reference.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

using kftest::U;

namespace {

using E = KF_String;
using kftest::Converted;
using kftest::Hex;
using kftest::kRoutes;
using kftest::Route;
using kftest::RouteScope;
namespace ref = kftest::utf8ref;

constexpr E::Encoding kForms[] = {E::Enc_UTF8, E::Enc_UTF16LE, E::Enc_UTF16BE, E::Enc_UTF32LE, E::Enc_UTF32BE};

// Swaps each pair of bytes: UTF-16LE to UTF-16BE and back.
std::string Swapped(std::string bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    return bytes;
}

// An independent encoder: the tests' own UTF-8 table and bit layouts.
std::string Encoded(const std::u32string& text, E::Encoding enc)
{
    std::string out;
    std::u16string units;
    for (char32_t cp : text) {
        out += ref::Encode(cp);
        ref::PutUtf16(units, cp);
    }
    if (enc == E::Enc_UTF16LE || enc == E::Enc_UTF16BE) {
        out = kftest::Utf16LE(units);
        return enc == E::Enc_UTF16BE ? Swapped(out) : out;
    }
    if (enc == E::Enc_UTF32LE || enc == E::Enc_UTF32BE) {
        out.clear();
        for (char32_t cp : text) {
            for (int k = 0; k < 4; ++k) {
                out += char((cp >> (enc == E::Enc_UTF32BE ? 24 - 8 * k : 8 * k)) & 0xFF);
            }
        }
    }
    return out;
}

// Edge characters, each alone and behind a run of ASCII long enough for the block loops.
std::vector<std::u32string> EdgeTexts()
{
    const char32_t edges[] = {0x01,   0x7F,   0x80,   0x7FF,   0x800,   0xFFF,    0x1000,  0xD7FF,
                              0xE000, 0xFFFD, 0xFFFF, 0x10000, 0x1FFFF, 0x10FC00, 0x10FFFF};
    std::u32string const run(67, U'r');
    std::vector<std::u32string> texts;
    for (char32_t cp : edges) {
        texts.push_back(std::u32string(1, cp));
        texts.push_back(run + cp + U"z" + run.substr(0, 13) + cp);
    }
    texts.push_back(U"\U00010000\U0010FFFF\u0080\u07FF\u0800\uFFFF");
    return texts;
}

} // namespace

TEST(UnicodeEdges, EveryFormToEveryFormThroughEveryRoute)
{
    for (const Route& route : kRoutes) {
        for (const std::u32string& text : EdgeTexts()) {
            for (E::Encoding from : kForms) {
                std::string const src = Encoded(text, from);
                for (E::Encoding to : kForms) {
                    ASSERT_EQ(Hex(Converted(from, src, to, false, route)), Hex(Encoded(text, to)))
                        << route.name << ": " << from << " -> " << to << " of " << Hex(src);
                }
            }
            // Strings made from the text hold its units and give its bytes back.
            RouteScope scope(route);
            std::string const utf8 = Encoded(text, E::Enc_UTF8);
            EXPECT_TRUE(E::IsUTF8(utf8.data(), unsigned(utf8.size()), false)) << route.name << ' ' << Hex(utf8);
            const KF_String s(utf8.c_str(), E::Enc_UTF8);
            EXPECT_EQ(kftest::Utf16LE(kftest::U(s)), Encoded(text, E::Enc_UTF16LE)) << route.name << ' ' << Hex(utf8);
            EXPECT_EQ(E::KF_StringToCStringLenBytes(E::Enc_UTF8, s, 0, 0), long(utf8.size())) << route.name;
            const KF_CString back = s.ToCStr(E::Enc_UTF8);
            EXPECT_EQ(Hex(std::string(back.bytes, back.length)), Hex(utf8 + '\0')) << route.name;
        }
    }
}

TEST(UnicodeEdges, EveryScalarValueThroughEveryRoute)
{
    std::string utf8;
    std::u16string units;
    ref::EveryScalarValue(1, 0x10FFFF, utf8, units);
    std::string const le = kftest::Utf16LE(units);
    for (const Route& route : kRoutes) {
        {
            RouteScope scope(route);
            EXPECT_TRUE(E::IsUTF8(utf8.data(), unsigned(utf8.size()), true)) << route.name;
        }
        // Measured, then converted into exactly that room.
        for (const auto& [from, src, to, want] : {std::tuple{E::Enc_UTF8, &std::as_const(utf8), E::Enc_UTF16LE, &le},
                                                  {E::Enc_UTF16LE, &le, E::Enc_UTF8, &std::as_const(utf8)}}) {
            const long n = long(src->size());
            EXPECT_EQ(kftest::ConvertOnce(route, from, *src, n, to, -1, false, false).code, long(want->size()))
                << route.name;
            const kftest::Outcome got = kftest::ConvertOnce(route, from, *src, n, to, long(want->size()), false, false);
            EXPECT_EQ(kftest::FirstDifference(got.bytes, *want), "") << route.name;
        }
    }
}

TEST(UnicodeEdges, CharactersAtEveryPlaceInMostlyAsciiText)
{
    // Two characters beyond ASCII in ASCII text, at every place in and across the blocks of the
    // vector paths and at every distance that puts the second in the same, the next or a later
    // block: the sparse blocks take their own way through the conversion.
    const std::pair<char32_t, char32_t> pairs[] = {{0xE9, 0x20AC}, {0x20AC, 0x1F600}, {0x1F600, 0xE9}};
    const std::size_t gaps[] = {0, 1, 3, 13, 50, 60, 64};
    for (const Route& route : kRoutes) {
        for (const auto& [a, b] : pairs) {
            for (std::size_t at = 0; at < 70; ++at) {
                for (std::size_t gap : gaps) {
                    std::u32string text(at, U'r');
                    text += a;
                    text += std::u32string(gap, U's') + b + std::u32string(150, U't');
                    std::string const utf8 = Encoded(text, E::Enc_UTF8);
                    std::string const utf16 = Encoded(text, E::Enc_UTF16LE);
                    std::string const units = Converted(E::Enc_UTF8, utf8, E::Enc_UTF16LE, false, route);
                    std::string const bytes = Converted(E::Enc_UTF16LE, utf16, E::Enc_UTF8, false, route);
                    if (units != utf16 || bytes != utf8) {
                        FAIL() << route.name << " at " << at << " gap " << gap << ": " << Hex(units) << "/ "
                               << Hex(bytes);
                    }
                }
            }
        }
    }
}

TEST(UnicodeEdges, IllFormedUtf8FailsInEveryRouteAtAnyPlace)
{
    // Overlong two-, three- and four-byte forms, encoded surrogates, beyond U+10FFFF, cut or stray
    // bytes, bad continuations.
    const char* const bad[] = {"\xC0\x80",
                               "\xC1\xBF",
                               "\xE0\x80\x80",
                               "\xE0\x9F\xBF",
                               "\xF0\x80\x80\x80",
                               "\xF0\x8F\xBF\xBF",
                               "\xED\xA0\x80",
                               "\xED\xAF\xBF",
                               "\xED\xB0\x80",
                               "\xED\xBF\xBF",
                               "\xF4\x90\x80\x80",
                               "\xF5\x80\x80\x80",
                               "\xF8\x88\x80\x80\x80",
                               "\xFF",
                               "\x80",
                               "\xBF",
                               "\xC2",
                               "\xE0\xA0",
                               "\xF0\x90\x80",
                               "\xC2\x7F",
                               "\xE1\x80\xC0",
                               "\xF1\x80\x80\x7F"};
    std::string const run(70, 'r');
    for (const Route& route : kRoutes) {
        for (const char* seq : bad) {
            for (const std::string& src : {std::string(seq), run + seq, run + seq + run, std::string(seq) + run}) {
                for (E::Encoding to : kForms) {
                    for (bool lossy : {false, true}) {
                        EXPECT_EQ(Converted(E::Enc_UTF8, src, to, lossy, route), "<-1>")
                            << route.name << " -> " << to << " of " << Hex(src);
                    }
                }
                RouteScope scope(route);
                EXPECT_FALSE(E::IsUTF8(src.data(), unsigned(src.size()), false)) << route.name << ' ' << Hex(src);
                EXPECT_TRUE(KF_String(src.c_str(), E::Enc_UTF8).IsNull()) << route.name << ' ' << Hex(src);
            }
            // At every place in and across the 16-, 32- and 64-byte blocks of the vector checks,
            // before more text with and without other characters.
            for (std::size_t at = 0; at <= 66; ++at) {
                for (const std::string& after : {run + run, "\xC3\xA9" + run + run}) {
                    std::string const src = std::string(at, 'r') + seq + after;
                    ASSERT_EQ(Converted(E::Enc_UTF8, src, E::Enc_UTF16LE, true, route), "<-1>")
                        << route.name << ' ' << Hex(src);
                    RouteScope scope(route);
                    ASSERT_FALSE(E::IsUTF8(src.data(), unsigned(src.size()), false)) << route.name << ' ' << Hex(src);
                }
            }
        }
    }
}

TEST(UnicodeEdges, LoneSurrogatesInUtf16AndSurrogateValuesInUtf32)
{
    struct Case {
        std::u16string units;
        std::string utf8Lossy; // the strict conversion fails
    };
    const Case cases[] = {{u"\xD800", "?"},
                          {u"\xDBFF", "?"},
                          {u"\xDC00", "?"},
                          {u"\xDFFF", "?"},
                          {u"a\xD800", "a?"},
                          {u"\xDC00\xD800", "??"},
                          {u"\xD800\xD800\xDC00", "?\xF0\x90\x80\x80"},
                          {u"\xDBFF\xDFFF\xDFFF", "\xF4\x8F\xBF\xBF?"}};
    std::u16string const run(70, u'r');
    std::string const run8(70, 'r');
    for (const Route& route : kRoutes) {
        for (const Case& c : cases) {
            for (bool padded : {false, true}) {
                std::string const le = kftest::Utf16LE(padded ? run + c.units + run : c.units);
                std::string const be = Swapped(le);
                std::string const want = padded ? run8 + c.utf8Lossy + run8 : c.utf8Lossy;
                for (const auto& [from, src] : {std::pair{E::Enc_UTF16LE, le}, std::pair{E::Enc_UTF16BE, be}}) {
                    EXPECT_EQ(Converted(from, src, E::Enc_UTF8, false, route), "<-1>") << route.name << ' ' << Hex(src);
                    EXPECT_EQ(Hex(Converted(from, src, E::Enc_UTF8, true, route)), Hex(want))
                        << route.name << ' ' << Hex(src);
                    // Between the two UTF-16 forms the units pass unchanged.
                    EXPECT_EQ(Hex(Converted(from, src, E::Enc_UTF16BE, false, route)), Hex(be)) << route.name;
                    EXPECT_EQ(Hex(Converted(from, src, E::Enc_UTF16LE, false, route)), Hex(le)) << route.name;
                }
            }
        }
        // UTF-32 values that are no character become U+FFFD by the framework's own rule.
        std::string const utf32 = Encoded(U"a", E::Enc_UTF32LE) + std::string("\x00\xD8\x00\x00", 4) +
                                  std::string("\xFF\xDF\x00\x00", 4) + std::string("\x00\x00\x11\x00", 4) +
                                  std::string("\xFF\xFF\xFF\xFF", 4) + Encoded(U"\U0010FFFF", E::Enc_UTF32LE);
        EXPECT_EQ(Hex(Converted(E::Enc_UTF32LE, utf32, E::Enc_UTF8, false, route)),
                  Hex(Encoded(U"a\uFFFD\uFFFD\uFFFD\uFFFD\U0010FFFF", E::Enc_UTF8)))
            << route.name;
        EXPECT_EQ(Converted(E::Enc_UTF32BE, std::string("\0\0\0A\0\0", 6), E::Enc_UTF8, false, route), "A")
            << "a partial last unit is ignored";
    }
}
