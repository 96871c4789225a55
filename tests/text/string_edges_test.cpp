// Text at the edges of Unicode through every conversion route: the first and last code point of
// each UTF-8 length class, the surrogate range, the first supplementary character, U+10FFFF, and
// the ill-formed forms around them. Random texts meet these values too rarely to be relied on.
#include "KF_TextCodec.hpp"
#include "TextTestSupport.hpp"
#include "Utf8Reference.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using kftest::U;

namespace {

using E = KF_String;

// The routes through ConvertChangeEncoding: the direct fast conversions (UTF-8 and UTF-16LE), the
// fast decoder feeding the pivot (the other targets), the scalar fast check, and the platform
// converters alone.
using kf::detail::text::VectorLevel;
struct Route {
    const char* name;
    bool fast;
    VectorLevel vector;
};
constexpr Route kRoutes[] = {{"fast+AVX2", true, VectorLevel::AVX2},
                             {"fast+SSSE3", true, VectorLevel::SSSE3},
                             {"fast scalar", true, VectorLevel::None},
                             {"platform", false, VectorLevel::AVX2}};

class RouteScope {
public:
    explicit RouteScope(const Route& r)
    {
        kf::detail::text::SetFastPathsEnabled(r.fast);
        kf::detail::text::SetVectorLimit(r.vector);
    }
    ~RouteScope()
    {
        kf::detail::text::SetFastPathsEnabled(true);
        kf::detail::text::SetVectorLimit(VectorLevel::AVX2);
    }
    RouteScope(const RouteScope&) = delete;
    RouteScope& operator=(const RouteScope&) = delete;
};

constexpr E::Encoding kForms[] = {E::Enc_UTF8, E::Enc_UTF16LE, E::Enc_UTF16BE, E::Enc_UTF32LE, E::Enc_UTF32BE};

// An independent encoder: the test's own statement of each form.
std::string Encoded(const std::u32string& text, E::Encoding enc)
{
    std::string out;
    auto unit16 = [&](char32_t u) {
        char const lo = char(u & 0xFF);
        char const hi = char(u >> 8);
        out += enc == E::Enc_UTF16BE ? std::string{hi, lo} : std::string{lo, hi};
    };
    for (char32_t cp : text) {
        switch (enc) {
        case E::Enc_UTF8:
            if (cp < 0x80) {
                out += char(cp);
            } else if (cp < 0x800) {
                out += {char(0xC0 | (cp >> 6)), char(0x80 | (cp & 0x3F))};
            } else if (cp < 0x10000) {
                out += {char(0xE0 | (cp >> 12)), char(0x80 | ((cp >> 6) & 0x3F)), char(0x80 | (cp & 0x3F))};
            } else {
                out += {char(0xF0 | (cp >> 18)), char(0x80 | ((cp >> 12) & 0x3F)), char(0x80 | ((cp >> 6) & 0x3F)),
                        char(0x80 | (cp & 0x3F))};
            }
            break;
        case E::Enc_UTF16LE:
        case E::Enc_UTF16BE:
            if (cp < 0x10000) {
                unit16(cp);
            } else {
                unit16(0xD800 + ((cp - 0x10000) >> 10));
                unit16(0xDC00 + ((cp - 0x10000) & 0x3FF));
            }
            break;
        default:
            for (int k = 0; k < 4; ++k) {
                const int shift = enc == E::Enc_UTF32BE ? 24 - 8 * k : 8 * k;
                out += char((cp >> shift) & 0xFF);
            }
        }
    }
    return out;
}

// Measures, then converts into exactly that room; and converts once more without measuring into a
// roomy buffer. Both must give the same code; answers the bytes or "<code>".
std::string Convert(E::Encoding from, const std::string& src, E::Encoding to, bool lossy)
{
    const long need = E::ConvertChangeEncoding(from, src.data(), long(src.size()), to, nullptr, 0, false, lossy);
    std::string roomy(src.size() * 4 + 16, '\x5A');
    const long direct = E::ConvertChangeEncoding(from, src.data(), long(src.size()), to, roomy.data(),
                                                 long(roomy.size()), false, lossy);
    EXPECT_EQ(direct, need) << "measuring and converting directly disagree";
    if (need < 0) {
        return "<" + std::to_string(need) + ">";
    }
    std::string exact(std::size_t(need), '\x5A');
    EXPECT_EQ(E::ConvertChangeEncoding(from, src.data(), long(src.size()), to, exact.data(), need, false, lossy), need);
    if (need > 0) {
        std::string shortRoom(std::size_t(need), '\x5A');
        EXPECT_EQ(
            E::ConvertChangeEncoding(from, src.data(), long(src.size()), to, shortRoom.data(), need - 1, false, lossy),
            -2)
            << "one byte short";
    }
    EXPECT_EQ(roomy.substr(0, std::size_t(need)), exact);
    return exact;
}

std::string Hex(const std::string& bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char b : bytes) {
        out += {digits[b >> 4], digits[b & 15], ' '};
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
        RouteScope scope(route);
        for (const std::u32string& text : EdgeTexts()) {
            for (E::Encoding from : kForms) {
                std::string const src = Encoded(text, from);
                if (from == E::Enc_UTF8) {
                    EXPECT_TRUE(E::IsUTF8(src.data(), unsigned(src.size()), false)) << route.name << ' ' << Hex(src);
                }
                for (E::Encoding to : kForms) {
                    ASSERT_EQ(Hex(Convert(from, src, to, false)), Hex(Encoded(text, to)))
                        << route.name << ": " << from << " -> " << to << " of " << Hex(src);
                }
            }
        }
    }
}

TEST(UnicodeEdges, EveryScalarValueThroughEveryRoute)
{
    std::string utf8;
    std::u16string units;
    kftest::utf8ref::EveryScalarValue(1, 0x10FFFF, utf8, units);
    std::string le;
    for (char16_t u : units) {
        le += {char(u & 0xFF), char(u >> 8)};
    }
    for (const Route& route : kRoutes) {
        RouteScope scope(route);
        EXPECT_TRUE(E::IsUTF8(utf8.data(), unsigned(utf8.size()), true)) << route.name;
        // Compared whole: a difference would print megabytes.
        EXPECT_TRUE(Convert(E::Enc_UTF8, utf8, E::Enc_UTF16LE, false) == le) << route.name;
        EXPECT_TRUE(Convert(E::Enc_UTF16LE, le, E::Enc_UTF8, false) == utf8) << route.name;
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
        RouteScope scope(route);
        for (const auto& [a, b] : pairs) {
            for (std::size_t at = 0; at < 70; ++at) {
                for (std::size_t gap : gaps) {
                    std::u32string text(at, U'r');
                    text += a;
                    text += std::u32string(gap, U's') + b + std::u32string(150, U't');
                    std::string const utf8 = Encoded(text, E::Enc_UTF8);
                    std::string const utf16 = Encoded(text, E::Enc_UTF16LE);
                    std::string const units = Convert(E::Enc_UTF8, utf8, E::Enc_UTF16LE, false);
                    std::string const bytes = Convert(E::Enc_UTF16LE, utf16, E::Enc_UTF8, false);
                    if (units != utf16 || bytes != utf8) {
                        FAIL() << route.name << " at " << at << " gap " << gap << ": " << Hex(units) << "/ "
                               << Hex(bytes);
                    }
                }
            }
        }
    }
}

TEST(UnicodeEdges, StringsMadeFromEdgeTextHoldTheUnits)
{
    for (const Route& route : kRoutes) {
        RouteScope scope(route);
        for (const std::u32string& text : EdgeTexts()) {
            std::string const utf16 = Encoded(text, E::Enc_UTF16LE);
            std::u16string units(utf16.size() / 2, u'\0');
            for (std::size_t i = 0; i < units.size(); ++i) {
                units[i] = char16_t((unsigned char)utf16[2 * i] | ((unsigned char)utf16[2 * i + 1] << 8));
            }
            std::string const utf8 = Encoded(text, E::Enc_UTF8);
            const KF_String s(utf8.c_str(), E::Enc_UTF8);
            EXPECT_EQ(U(s), units) << route.name << ' ' << Hex(utf8);
            EXPECT_EQ(E::KF_StringToCStringLenBytes(E::Enc_UTF8, s, 0, 0), long(utf8.size())) << route.name;
            const KF_CString back = s.ToCStr(E::Enc_UTF8);
            EXPECT_EQ(Hex(std::string(back.bytes, back.length)), Hex(utf8 + '\0')) << route.name;
        }
    }
}

TEST(UnicodeEdges, IllFormedUtf8FailsInEveryRouteAtAnyPlace)
{
    const char* const bad[] = {
        "\xC0\x80",
        "\xC1\xBF", // overlong two-byte forms
        "\xE0\x80\x80",
        "\xE0\x9F\xBF", // overlong three-byte forms
        "\xF0\x80\x80\x80",
        "\xF0\x8F\xBF\xBF", // overlong four-byte forms
        "\xED\xA0\x80",
        "\xED\xAF\xBF",
        "\xED\xB0\x80",
        "\xED\xBF\xBF", // encoded surrogates
        "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80",
        "\xF8\x88\x80\x80\x80",
        "\xFF", // beyond U+10FFFF
        "\x80",
        "\xBF",
        "\xC2",
        "\xE0\xA0",
        "\xF0\x90\x80", // cut or stray
        "\xC2\x7F",
        "\xE1\x80\xC0",
        "\xF1\x80\x80\x7F", // bad continuation
    };
    std::string const run(70, 'r');
    for (const Route& route : kRoutes) {
        RouteScope scope(route);
        for (const char* seq : bad) {
            for (const std::string& src : {std::string(seq), run + seq, run + seq + run, std::string(seq) + run}) {
                EXPECT_FALSE(E::IsUTF8(src.data(), unsigned(src.size()), false)) << route.name << ' ' << Hex(src);
                for (E::Encoding to : kForms) {
                    for (bool lossy : {false, true}) {
                        EXPECT_EQ(Convert(E::Enc_UTF8, src, to, lossy), "<-1>")
                            << route.name << " -> " << to << " of " << Hex(src);
                    }
                }
                EXPECT_TRUE(KF_String(src.c_str(), E::Enc_UTF8).IsNull()) << route.name << ' ' << Hex(src);
            }
            // At every place in and across the 16-, 32- and 64-byte blocks of the vector checks,
            // before more text with and without other characters.
            for (std::size_t at = 0; at <= 66; ++at) {
                for (const std::string& after : {run + run, "\xC3\xA9" + run + run}) {
                    std::string const src = std::string(at, 'r') + seq + after;
                    ASSERT_FALSE(E::IsUTF8(src.data(), unsigned(src.size()), false)) << route.name << ' ' << Hex(src);
                    ASSERT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, src.data(), long(src.size()), E::Enc_UTF16LE,
                                                       nullptr, 0, false, true),
                              -1)
                        << route.name << ' ' << Hex(src);
                    std::string roomy(src.size() * 2 + 64, '\0');
                    ASSERT_EQ(E::ConvertChangeEncoding(E::Enc_UTF8, src.data(), long(src.size()), E::Enc_UTF16LE,
                                                       roomy.data(), long(roomy.size()), false, true),
                              -1)
                        << route.name << ' ' << Hex(src);
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
    const Case cases[] = {
        {u"\xD800", "?"},
        {u"\xDBFF", "?"},
        {u"\xDC00", "?"},
        {u"\xDFFF", "?"},
        {u"a\xD800", "a?"},
        {u"\xDC00\xD800", "??"},
        {u"\xD800\xD800\xDC00", "?\xF0\x90\x80\x80"},
        {u"\xDBFF\xDFFF\xDFFF", "\xF4\x8F\xBF\xBF?"},
    };
    std::u16string const run(70, u'r');
    std::string const run8(70, 'r');
    for (const Route& route : kRoutes) {
        RouteScope scope(route);
        for (const Case& c : cases) {
            for (bool padded : {false, true}) {
                std::u16string const units = padded ? run + c.units + run : c.units;
                std::string le;
                std::string be;
                for (char16_t u : units) {
                    le += {char(u & 0xFF), char(u >> 8)};
                    be += {char(u >> 8), char(u & 0xFF)};
                }
                std::string const want = padded ? run8 + c.utf8Lossy + run8 : c.utf8Lossy;
                for (const auto& [from, src] : {std::pair{E::Enc_UTF16LE, le}, std::pair{E::Enc_UTF16BE, be}}) {
                    EXPECT_EQ(Convert(from, src, E::Enc_UTF8, false), "<-1>") << route.name << ' ' << Hex(src);
                    EXPECT_EQ(Hex(Convert(from, src, E::Enc_UTF8, true)), Hex(want)) << route.name << ' ' << Hex(src);
                    // Between the two UTF-16 forms the units pass unchanged.
                    EXPECT_EQ(Hex(Convert(from, src, E::Enc_UTF16BE, false)), Hex(be)) << route.name;
                    EXPECT_EQ(Hex(Convert(from, src, E::Enc_UTF16LE, false)), Hex(le)) << route.name;
                }
            }
        }
        // UTF-32 values that are no character become U+FFFD by the framework's own rule.
        std::string const utf32 = Encoded(U"a", E::Enc_UTF32LE) + std::string("\x00\xD8\x00\x00", 4) +
                                  std::string("\xFF\xDF\x00\x00", 4) + std::string("\x00\x00\x11\x00", 4) +
                                  std::string("\xFF\xFF\xFF\xFF", 4) + Encoded(U"\U0010FFFF", E::Enc_UTF32LE);
        EXPECT_EQ(Hex(Convert(E::Enc_UTF32LE, utf32, E::Enc_UTF8, false)),
                  Hex(Encoded(U"a\uFFFD\uFFFD\uFFFD\uFFFD\U0010FFFF", E::Enc_UTF8)))
            << route.name;
        EXPECT_EQ(Convert(E::Enc_UTF32BE,
                          std::string("\x00\x00\x00"
                                      "A"
                                      "\x00\x00",
                                      6),
                          E::Enc_UTF8, false),
                  "A")
            << "a partial last unit is ignored";
    }
}
