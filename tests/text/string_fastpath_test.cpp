// The hand-written fast paths against the platform converters: every code, length and byte of
// a successful result must be the same.
#include "TextTestSupport.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using E = KF_String;

E::Encoding const kEncodings[] = {E::Enc_UTF7,      E::Enc_UTF8,      E::Enc_UTF16LE, E::Enc_UTF16BE,
                                  E::Enc_UTF32LE,   E::Enc_UTF32BE,   E::Enc_ASCII,   E::Enc_MacRoman,
                                  E::Enc_WinLatin1, E::Enc_ISOLatin1, E::Enc_System};

using kftest::ConvertOnce;
using kftest::kPlatform;
using kftest::Outcome;
using kftest::Route;

void ExpectSameEverywhere(const Route& route, E::Encoding from, const std::string& src, E::Encoding to)
{
    for (bool lossy : {false, true}) {
        for (bool terminate : {false, true}) {
            ASSERT_EQ(kftest::Disagreement(route, from, src, long(src.size()), to, terminate, lossy), "");
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

std::string Utf8Of(const std::u16string& units)
{
    std::string const le = kftest::Utf16LE(units);
    const long n = long(le.size());
    return ConvertOnce(kPlatform, E::Enc_UTF16LE, le, n, E::Enc_UTF8, n * 2, false, true).bytes;
}

} // namespace

TEST(FastPaths, RandomTextsInEveryPairOfEncodings)
{
    for (const Route& route : kftest::kRoutes) {
        TextMaker maker(20240611u);
        // Short and middling texts in every pair; long ones, which cross the vector loops many
        // times, in the pairs with vector paths.
        for (int round = 0; round < 15 && route.fast; ++round) {
            int const flavour = round % 3;
            bool const longText = round >= 12;
            std::size_t const size = longText ? 5000 : 1 + maker.Pick(round < 6 ? 40 : 300);
            std::u16string const units = maker.Units(size, flavour);
            std::string const utf8 = Utf8Of(units);
            std::string const sources[] = {kftest::Utf16LE(units), utf8, maker.Corrupt(utf8),
                                           maker.RandomBytes(longText ? 0 : size)};
            for (std::string const& src : sources) {
                for (E::Encoding from : kEncodings) {
                    for (E::Encoding to : kEncodings) {
                        bool const vectorPair =
                            (from == E::Enc_UTF8 || from == E::Enc_UTF16LE || from == E::Enc_WinLatin1) &&
                            (to == E::Enc_UTF8 || to == E::Enc_UTF16LE || to == E::Enc_MacRoman || to == E::Enc_ASCII);
                        if (!longText || vectorPair) {
                            ExpectSameEverywhere(route, from, src, to);
                        }
                        if (::testing::Test::HasFatalFailure()) {
                            return;
                        }
                    }
                }
            }
        }
    }
}
