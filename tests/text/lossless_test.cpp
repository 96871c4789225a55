// The lossless byte <-> string mapping under the settings store and the versions file, checked
// against oracles that share no code with it: the tests' own UTF-8 table for UTF-8, the platform's
// converters (one byte or unit at a time) for the single-byte encodings. Round trips alone would
// hide a decoder that escapes valid characters or an encoder that writes raw bytes.
#include "KF_TextCodec.hpp"
#include "KF_TextLossless.hpp"
#include "TextTestSupport.hpp"
#include "Utf8Reference.hpp"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

using namespace std::string_view_literals;
using kftest::ConvertOnce;
using kftest::FromU16;
using kftest::Hex;
using kftest::kRoutes;
using kftest::U;
namespace ref = kftest::utf8ref;

namespace {

using E = KF_String;

constexpr char16_t kEscape = 0xDC00;

// Equal, or a readable account of the first difference instead of two megabytes of text.
template <typename Text>
::testing::AssertionResult Same(const Text& got, const Text& want)
{
    std::string const difference = kftest::FirstDifference(got, want);
    return difference.empty() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << difference;
}

// An encoding the mapping serves, with the oracle for it.
struct Served {
    const char* name;
    E::Encoding enc;
    Base::AppTextEncoding app;
    const char* platformName; // the single-byte converter; null for UTF-8
};

constexpr Served kUtf8Served[] = {
    {"UTF-8", E::Enc_UTF8, Base::AppTextEncoding::UTF8, nullptr},
    {"System (UTF-8)", E::Enc_System, Base::AppTextEncoding::UTF8, nullptr},
    {"UTF-8 in a Mac OS Roman application", E::Enc_UTF8, Base::AppTextEncoding::MacRoman, nullptr},
};

constexpr Served kSingleByteServed[] = {
    {"System (Mac OS Roman)", E::Enc_System, Base::AppTextEncoding::MacRoman, "macintosh"},
    {"Mac OS Roman", E::Enc_MacRoman, Base::AppTextEncoding::UTF8, "macintosh"},
    {"ASCII", E::Enc_ASCII, Base::AppTextEncoding::UTF8, "US-ASCII"},
    {"Windows-1252", E::Enc_WinLatin1, Base::AppTextEncoding::UTF8, "windows-1252"},
    {"ISO 8859-1", E::Enc_ISOLatin1, Base::AppTextEncoding::UTF8, "ISO-8859-1"},
};

std::u16string Read(std::string_view bytes, E::Encoding enc)
{
    return U(kf::detail::KF_Text_BytesToString(bytes, enc));
}

std::string Write(const std::u16string& units, E::Encoding enc)
{
    return kf::detail::KF_Text_StringToBytes(FromU16(units), enc);
}

// --- the UTF-8 oracle for writing --------------------------------------------------------------

// What the writer must give: characters in their UTF-8 form, "?" for a lone surrogate, and an
// escape unit as its byte only where the oracle's reader escapes that byte again.
std::string Utf8Written(const std::u16string& units)
{
    std::string out;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t u = units[i];
        if (u >= 0xDC80 && u <= 0xDCFF) {
            std::string run;
            for (std::size_t k = i; k < units.size() && run.size() < 4 && units[k] >= 0xDC80 && units[k] <= 0xDCFF;
                 ++k) {
                run += char(units[k] - kEscape);
            }
            const bool escapedAgain =
                ref::At(reinterpret_cast<const std::uint8_t*>(run.data()), run.size()).length == 0;
            out += escapedAgain ? run[0] : '?';
        } else if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
                   units[i + 1] <= 0xDFFF) {
            out += ref::Encode(0x10000 + ((u - 0xD800) << 10) + (units[i + 1] - 0xDC00u));
            ++i;
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            out += '?';
        } else {
            out += ref::Encode(u);
        }
    }
    return out;
}

// --- the platform oracle for the single-byte encodings -------------------------------------------

struct CloseConverter {
    void operator()(UConverter* c) const { ucnv_close(c); }
};

// The platform converter's answer for each byte and each BMP unit alone, with no substitution.
class SingleByteOracle {
public:
    explicit SingleByteOracle(const char* name)
    {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UConverter, CloseConverter> cnv(ucnv_open(name, &status));
        if (U_FAILURE(status)) {
            ADD_FAILURE() << "no converter " << name;
            return;
        }
        ucnv_setToUCallBack(cnv.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        ucnv_setFromUCallBack(cnv.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        for (int b = 0; b < 256; ++b) {
            const char byte = char(b);
            UChar unit[4];
            status = U_ZERO_ERROR;
            const int32_t n = ucnv_toUChars(cnv.get(), unit, 4, &byte, 1, &status);
            if (U_SUCCESS(status) && n == 1) {
                toUnit_[std::size_t(b)] = unit[0];
            }
        }
        for (unsigned u = 0; u < 0x10000; ++u) {
            const UChar unit = UChar(u);
            char bytes[8];
            status = U_ZERO_ERROR;
            const int32_t n = ucnv_fromUChars(cnv.get(), bytes, 8, &unit, 1, &status);
            if (U_SUCCESS(status) && n == 1) {
                fromUnit_[u] = bytes[0];
            }
        }
    }

    // What a strict conversion of the one byte or unit gives: its unit or byte, or the failure.
    kftest::Outcome StrictRead(unsigned char byte) const
    {
        return toUnit_[byte] ? kftest::Outcome{2, kftest::Utf16LE(std::u16string(1, *toUnit_[byte]))}
                             : kftest::Outcome{-1, ""};
    }
    kftest::Outcome StrictWrite(char16_t unit) const
    {
        return fromUnit_[unit] ? kftest::Outcome{1, std::string(1, *fromUnit_[unit])} : kftest::Outcome{-1, ""};
    }

    std::u16string Read(std::string_view bytes) const
    {
        std::u16string out;
        for (unsigned char b : bytes) {
            out += toUnit_[b].value_or(char16_t(kEscape + b));
        }
        return out;
    }

    // One "?" for each character the encoding cannot hold (a surrogate pair is one character);
    // an escape unit is its byte when the byte is no character here, so that it reads back.
    std::string Written(const std::u16string& units) const
    {
        std::string out;
        for (std::size_t i = 0; i < units.size(); ++i) {
            const char16_t u = units[i];
            if (u >= 0xDC80 && u <= 0xDCFF) {
                out += toUnit_[u - kEscape] ? '?' : char(u - kEscape);
                continue;
            }
            out += fromUnit_[u].value_or('?');
            if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
                units[i + 1] <= 0xDFFF) {
                ++i;
            }
        }
        return out;
    }

private:
    std::array<std::optional<char16_t>, 256> toUnit_;
    std::array<std::optional<char>, 0x10000> fromUnit_;
};

// --- texts at the edges --------------------------------------------------------------------------

// Every sequence of one to four bytes drawn from the bytes at the edges of the UTF-8 classes, each
// behind a "." so that it starts where a character may start.
std::string EdgeByteSequences()
{
    const std::uint8_t edges[] = {0x00, 0x41, 0x7F, 0x80, 0x81, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
                                  0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFF};
    std::size_t const n = sizeof edges;
    std::string out;
    for (std::size_t length = 1; length <= 4; ++length) {
        std::size_t combos = 1;
        for (std::size_t k = 0; k < length; ++k) {
            combos *= n;
        }
        for (std::size_t c = 0; c < combos; ++c) {
            out += '.';
            for (std::size_t k = 0, rest = c; k < length; ++k, rest /= n) {
                out += char(edges[rest % n]);
            }
        }
    }
    return out;
}

// Units that only code makes: lone surrogates, and escape units in every arrangement in which
// their bytes could form a character (each group behind an "x").
std::u16string UnitsOnlyCodeMakes()
{
    std::u16string out;
    for (char16_t u : {0xD800, 0xDBFF, 0xDC00, 0xDC7F, 0xDFFF}) {
        out += u'x';
        out += u;
    }
    out += u"x\xDC00\xD800x\xD800\xD800\xDC00x\xDBFF";
    auto esc = [](unsigned byte) { return char16_t(kEscape + byte); };
    for (unsigned a = 0x80; a <= 0xFF; ++a) {
        for (unsigned b = 0x80; b <= 0xFF; ++b) {
            out += {u'x', esc(a), esc(b)};
        }
    }
    for (unsigned a = 0xE0; a <= 0xF4; ++a) {
        for (unsigned b = 0x80; b <= 0xBF; ++b) {
            for (unsigned c : {0x80u, 0xA5u, 0xBFu, 0xC0u}) {
                out += {u'x', esc(a), esc(b), esc(c)};
                if (a >= 0xF0) {
                    out += {u'x', esc(a), esc(b), esc(c), esc(0x80), esc(0xBF)};
                    out += {u'x', esc(a), esc(b), esc(c), esc(0xBF), u'\x80'};
                }
            }
        }
    }
    // Escape units around real characters and zero units.
    out += u"x\xDCC3\u00E9\xDCA9x\xDCE2\U0001F600\xDC82\xDCACx\xDCF0\0\xDC9F\xDC98\xDC80"sv;
    return out;
}

} // namespace

TEST(LosslessUtf8, ReadsAndWritesEveryScalarValueAsItself)
{
    std::string bytes;
    std::u16string units;
    ref::EveryScalarValue(0, 0x10FFFF, bytes, units);
    for (const Served& s : kUtf8Served) {
        SCOPED_TRACE(s.name);
        kftest::ScopedAppEncoding app(s.app);
        EXPECT_TRUE(Same(Read(bytes, s.enc), units));
        EXPECT_TRUE(Same(Write(units, s.enc), bytes));
        // One stray byte or escape unit at the end: character by character.
        EXPECT_TRUE(Same(Read(bytes + "\xFF", s.enc), units + char16_t(0xDCFF)));
        EXPECT_TRUE(Same(Write(units + char16_t(0xDCFF), s.enc), bytes + "\xFF"));
    }
}

TEST(LosslessUtf8, ReadsEveryIllFormedByteAsItsOwnEscape)
{
    std::string const bytes = EdgeByteSequences();
    std::u16string const want = ref::DecodeEscaping(bytes);
    for (const Served& s : kUtf8Served) {
        SCOPED_TRACE(s.name);
        kftest::ScopedAppEncoding app(s.app);
        EXPECT_TRUE(Same(Read(bytes, s.enc), want));
        // Cut at the end of the text: every byte of a truncated sequence stands alone.
        for (const char* whole : {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEF\xBF\xBF",
                                  "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
            std::string const full(whole);
            for (std::size_t cut = 1; cut <= full.size(); ++cut) {
                std::string const part = "a" + full.substr(0, cut);
                EXPECT_EQ(Hex(Read(part, s.enc)), Hex(ref::DecodeEscaping(part))) << Hex(part);
            }
        }
    }
}

TEST(LosslessUtf8, WritesWhatItCannotHoldAsQuestionMarksAndEscapesOnlyWhereTheyReadBack)
{
    std::u16string const units = UnitsOnlyCodeMakes();
    std::string const want = Utf8Written(units);
    for (const Served& s : kUtf8Served) {
        SCOPED_TRACE(s.name);
        kftest::ScopedAppEncoding app(s.app);
        std::string const written = Write(units, s.enc);
        EXPECT_TRUE(Same(written, want));
        // Whatever was written as a byte reads back as the unit it came from.
        EXPECT_TRUE(Same(Read(written, s.enc), ref::DecodeEscaping(want)));
        // Lone surrogates alone take the ordinary conversion.
        EXPECT_EQ(Hex(Write(u"a\xD800\xDC00\xD800", s.enc)), Hex(std::string("a\xF0\x90\x80\x80?")));
    }
    // Bytes that code put into a string as escape units never come back as another character.
    EXPECT_EQ(Hex(Write(u"\xDCC3\xDCA9", E::Enc_UTF8)), Hex(std::string("?\xA9")));
    EXPECT_EQ(Hex(Read("?\xA9", E::Enc_UTF8)), Hex(u"?\xDCA9"));
    EXPECT_EQ(Hex(Write(u"\xDCF0\xDC9F\xDC98\xDC80\xDC80", E::Enc_UTF8)), Hex(std::string("?\x9F\x98\x80\x80")));
    EXPECT_EQ(Hex(Write(u"\xDCC3\xDCC3\xDCA9", E::Enc_UTF8)), Hex(std::string("\xC3?\xA9")));
    EXPECT_EQ(Hex(Write(u"\xDCC3\u00A9", E::Enc_UTF8)), Hex(std::string("\xC3\xC2\xA9")));
}

TEST(LosslessSingleByte, ReadsAndWritesAsThePlatformConverterDoesByteForByte)
{
    std::string every;
    for (int b = 0; b < 256; ++b) {
        every += char(b);
    }
    std::string scalars;
    std::u16string units;
    ref::EveryScalarValue(0, 0x10FFFF, scalars, units);
    std::u16string const fromCode = UnitsOnlyCodeMakes();
    for (const Served& s : kSingleByteServed) {
        SCOPED_TRACE(s.name);
        kftest::ScopedAppEncoding app(s.app);
        const SingleByteOracle oracle(s.platformName);
        std::u16string const read = oracle.Read(every);
        EXPECT_EQ(Hex(Read(every, s.enc)), Hex(read));
        EXPECT_EQ(Hex(Write(read, s.enc)), Hex(every)) << "every byte comes back";
        EXPECT_TRUE(Same(Write(units, s.enc), oracle.Written(units)));
        EXPECT_TRUE(Same(Write(units + char16_t(0xDCFF), s.enc), oracle.Written(units + char16_t(0xDCFF))));
        EXPECT_TRUE(Same(Write(fromCode, s.enc), oracle.Written(fromCode)));
        // Under the mapping, the strict conversions of one byte or unit at a time (so that a
        // single unmappable one cannot hide behind another).
        for (unsigned u = 0; u < 0x10000; ++u) {
            std::string const one = kftest::Utf16LE(std::u16string(1, char16_t(u)));
            ASSERT_EQ(ConvertOnce(kRoutes[0], E::Enc_UTF16LE, one, 2, s.enc, 8, false, false),
                      oracle.StrictWrite(char16_t(u)))
                << "unit " << std::hex << u;
        }
        for (int b = 0; b < 256; ++b) {
            ASSERT_EQ(
                ConvertOnce(kRoutes[0], s.enc, every.substr(std::size_t(b), 1), 1, E::Enc_UTF16LE, 8, false, false),
                oracle.StrictRead(static_cast<unsigned char>(b)))
                << "byte " << b;
        }
    }
}

TEST(LosslessMapping, EmptyTextsAndZeroBytes)
{
    EXPECT_FALSE(kf::detail::KF_Text_BytesToString("", E::Enc_UTF8).IsNull());
    EXPECT_EQ(kf::detail::KF_Text_StringToBytes(KF_String(), E::Enc_UTF8), "");
    std::string const zeros("a\0b\0", 4);
    for (E::Encoding enc : {E::Enc_UTF8, E::Enc_MacRoman, E::Enc_ASCII}) {
        EXPECT_EQ(Hex(Read(zeros, enc)), Hex(std::u16string(u"a\0b\0", 4)));
        EXPECT_EQ(Hex(Write(std::u16string(u"a\0b\0", 4), enc)), Hex(zeros));
        EXPECT_EQ(Hex(Write(std::u16string(u"a\0\xDCFF", 3), enc)),
                  Hex(std::string(enc == E::Enc_MacRoman ? "a\0?" : "a\0\xFF", 3)));
    }
}
