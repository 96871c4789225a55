// The hand-written fast paths against the platform converters: every code, length and byte of
// a successful result must be the same.
#include "KF_TextCodec.hpp"
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <random>
#include <string>

namespace {

using E = KF_String;

E::Encoding const kEncodings[] = {E::Enc_UTF7,      E::Enc_UTF8,      E::Enc_UTF16LE, E::Enc_UTF16BE,
                                  E::Enc_UTF32LE,   E::Enc_UTF32BE,   E::Enc_ASCII,   E::Enc_MacRoman,
                                  E::Enc_WinLatin1, E::Enc_ISOLatin1, E::Enc_System};

struct Outcome {
    long code;
    std::string bytes;
    bool operator==(const Outcome& o) const { return code == o.code && bytes == o.bytes; }
};

std::ostream& operator<<(std::ostream& os, const Outcome& o)
{
    os << o.code << " (" << o.bytes.size() << " bytes:";
    for (std::size_t i = 0; i < o.bytes.size() && i < 24; ++i) {
        os << ' ' << std::hex << int(static_cast<unsigned char>(o.bytes[i])) << std::dec;
    }
    return os << (o.bytes.size() > 24 ? " ...)" : ")");
}

Outcome Convert1(bool fast, E::Encoding from, const std::string& src, E::Encoding to, long room, bool terminate,
                 bool lossy)
{
    kf::detail::text::SetFastPathsEnabled(fast);
    std::string dst(room > 0 ? std::size_t(room) : 0, '\x5A');
    const long code = E::ConvertChangeEncoding(from, src.data(), long(src.size()), to, room < 0 ? nullptr : dst.data(),
                                               room, terminate, lossy);
    kf::detail::text::SetFastPathsEnabled(true);
    // Only a successful result defines the destination's bytes.
    return {code, (room >= 0 && code > 0) ? dst.substr(0, std::size_t(code)) : std::string()};
}

void ExpectSameEverywhere(E::Encoding from, const std::string& src, E::Encoding to)
{
    for (bool lossy : {false, true}) {
        for (bool terminate : {false, true}) {
            const Outcome measured = Convert1(true, from, src, to, -1, terminate, lossy);
            ASSERT_EQ(measured, Convert1(false, from, src, to, -1, terminate, lossy))
                << "measure " << from << " -> " << to << " lossy " << lossy;
            const long exact = measured.code > 0 ? measured.code : long(src.size()) * 4 + 8;
            for (long room : {exact, exact - 1, exact / 2, 0L}) {
                ASSERT_EQ(Convert1(true, from, src, to, room, terminate, lossy),
                          Convert1(false, from, src, to, room, terminate, lossy))
                    << from << " -> " << to << " room " << room << " lossy " << lossy << " terminate " << terminate;
            }
        }
    }
}

// Runs a check at every level of vector instructions the processor offers, and with none: each
// must agree with the platform converters.
template <typename Check>
void AtEveryVectorLevel(Check check)
{
    using kf::detail::text::VectorLevel;
    for (VectorLevel level : {VectorLevel::AVX2, VectorLevel::SSSE3, VectorLevel::None}) {
        SCOPED_TRACE(level == VectorLevel::AVX2 ? "AVX2" : level == VectorLevel::SSSE3 ? "SSSE3" : "scalar");
        kf::detail::text::SetVectorLimit(level);
        check();
        kf::detail::text::SetVectorLimit(VectorLevel::AVX2);
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

// Random texts of the kinds that reach the fast paths' corners.
class TextMaker {
public:
    explicit TextMaker(unsigned seed) : rng_(seed) {}

    std::u16string Units(std::size_t n, int flavour)
    {
        std::u16string out;
        while (out.size() < n) {
            const unsigned pick = Pick(100);
            if (flavour == 0 || pick < 60) {
                out.push_back(char16_t(0x20 + Pick(0x5F)));
            } else if (pick < 75) {
                out.push_back(char16_t(0xA0 + Pick(0x160)));
            } else if (pick < 85) {
                out.push_back(char16_t(0x800 + Pick(0xD000)));
            } else if (pick < 93) {
                const char32_t cp = 0x10000 + Pick(0xFFFFF);
                out.push_back(char16_t(0xD800 + ((cp - 0x10000) >> 10)));
                out.push_back(char16_t(0xDC00 + ((cp - 0x10000) & 0x3FF)));
            } else if (pick < 96 && flavour == 2) {
                out.push_back(char16_t(0xD800 + Pick(0x800))); // lone surrogate
            } else {
                out.push_back(char16_t(Pick(0x80)));
            }
        }
        return out;
    }

    std::string Corrupt(std::string text)
    {
        for (int k = 0; k < 3 && !text.empty(); ++k) {
            text[Pick(unsigned(text.size()))] = char(Pick(256));
        }
        return text;
    }

    std::string RandomBytes(std::size_t n)
    {
        std::string out;
        for (std::size_t i = 0; i < n; ++i) {
            out.push_back(char(Pick(256)));
        }
        return out;
    }

    unsigned Pick(unsigned bound) { return std::uniform_int_distribution<unsigned>(0, bound - 1)(rng_); }

private:
    std::mt19937 rng_;
};

std::string Utf16LE(const std::u16string& units)
{
    std::string out;
    for (char16_t u : units) {
        out.push_back(char(u & 0xFF));
        out.push_back(char(u >> 8));
    }
    return out;
}

std::string Utf8Of(const std::u16string& units)
{
    kf::detail::text::SetFastPathsEnabled(false);
    const long n = E::ConvertChangeEncoding(E::Enc_UTF16LE, Utf16LE(units).data(), long(units.size() * 2), E::Enc_UTF8,
                                            nullptr, 0, false, true);
    std::string out(std::size_t(n > 0 ? n : 0), '\0');
    E::ConvertChangeEncoding(E::Enc_UTF16LE, Utf16LE(units).data(), long(units.size() * 2), E::Enc_UTF8, out.data(), n,
                             false, true);
    kf::detail::text::SetFastPathsEnabled(true);
    return out;
}

} // namespace

TEST(FastPaths, RandomTextsInEveryPairOfEncodings)
{
    AtEveryVectorLevel([] {
        TextMaker maker(20240611u);
        for (int round = 0; round < 12; ++round) {
            int const flavour = round % 3;
            std::size_t const size = 1 + maker.Pick(round < 6 ? 40 : 300);
            std::u16string const units = maker.Units(size, flavour);
            std::string const sources[] = {Utf16LE(units), Utf8Of(units), maker.Corrupt(Utf8Of(units)),
                                           maker.RandomBytes(size)};
            for (std::string const& src : sources) {
                for (E::Encoding from : kEncodings) {
                    for (E::Encoding to : kEncodings) {
                        ExpectSameEverywhere(from, src, to);
                        if (::testing::Test::HasFatalFailure()) {
                            return;
                        }
                    }
                }
            }
        }
    });
}

TEST(FastPaths, LongTextsCrossTheVectorLoops)
{
    AtEveryVectorLevel([] {
        TextMaker maker(7u);
        for (int flavour = 0; flavour < 3; ++flavour) {
            std::u16string const units = maker.Units(5000, flavour);
            for (std::string const& src : {Utf16LE(units), Utf8Of(units), maker.Corrupt(Utf8Of(units))}) {
                for (E::Encoding from : {E::Enc_UTF8, E::Enc_UTF16LE, E::Enc_WinLatin1}) {
                    for (E::Encoding to : {E::Enc_UTF8, E::Enc_UTF16LE, E::Enc_MacRoman, E::Enc_ASCII}) {
                        ExpectSameEverywhere(from, src, to);
                    }
                }
            }
        }
    });
}

TEST(FastPaths, SingleByteTablesCoverTheWholeBMP)
{
    std::string every;
    for (unsigned u = 0; u < 0x10000; ++u) {
        every.push_back(char(u & 0xFF));
        every.push_back(char(u >> 8));
    }
    std::string bytes;
    for (int b = 0; b < 256; ++b) {
        bytes.push_back(char(b));
    }
    for (E::Encoding enc : {E::Enc_ASCII, E::Enc_MacRoman, E::Enc_WinLatin1, E::Enc_ISOLatin1}) {
        SCOPED_TRACE(int(enc));
        EXPECT_EQ(Convert1(true, E::Enc_UTF16LE, every, enc, -1, false, true),
                  Convert1(false, E::Enc_UTF16LE, every, enc, -1, false, true));
        EXPECT_EQ(Convert1(true, E::Enc_UTF16LE, every, enc, long(every.size()), false, true),
                  Convert1(false, E::Enc_UTF16LE, every, enc, long(every.size()), false, true));
        // One unit at a time, so that a single unmappable unit cannot hide behind another.
        for (unsigned u = 0; u < 0x10000; u += 1) {
            std::string const one = every.substr(2 * u, 2);
            ASSERT_EQ(Convert1(true, E::Enc_UTF16LE, one, enc, 8, false, false),
                      Convert1(false, E::Enc_UTF16LE, one, enc, 8, false, false))
                << "unit " << std::hex << u;
        }
        for (int b = 0; b < 256; ++b) {
            std::string const one(1, char(b));
            ASSERT_EQ(Convert1(true, enc, one, E::Enc_UTF16LE, 8, false, false),
                      Convert1(false, enc, one, E::Enc_UTF16LE, 8, false, false))
                << "byte " << b;
        }
    }
}

TEST(FastPaths, IsUTF8AgreesWithThePlatformCheck)
{
    AtEveryVectorLevel([] {
        TextMaker maker(99u);
        for (int round = 0; round < 3000; ++round) {
            // Short random bytes, and longer corrupted text whose faults fall anywhere in a block.
            std::string const text = round % 2 == 0 ? maker.RandomBytes(1 + maker.Pick(40))
                                                    : maker.Corrupt(Utf8Of(maker.Units(1 + maker.Pick(80), 1)));
            UErrorCode status = U_ZERO_ERROR;
            int32_t needed = 0;
            u_strFromUTF8(nullptr, 0, &needed, text.data(), int32_t(text.size()), &status);
            bool const platform =
                status == U_BUFFER_OVERFLOW_ERROR || status == U_STRING_NOT_TERMINATED_WARNING || U_SUCCESS(status);
            ASSERT_EQ(E::IsUTF8(text.data(), unsigned(text.size()), false), platform) << round;
        }
    });
}
