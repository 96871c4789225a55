// UTF-8 validation and counting 16 bytes at a time, after the lookup-table method of Keiser and
// Lemire ("Validating UTF-8 In Less Than One Instruction Per Byte", 2021): three nibble lookups
// classify every byte pair, and two saturating subtractions find where a third or fourth byte of
// a sequence must stand. Needs SSSE3, chosen at run time; elsewhere the scalar path answers.
#include "KF_TextCodec.hpp"

#include <bit>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KF_TEXT_VECTOR_UTF8 1
#endif

namespace kf::detail::text {

#if KF_TEXT_VECTOR_UTF8

namespace {

// Error bits; a pair of bytes is ill-formed when the three lookups share a bit.
constexpr char kTooShort = 1 << 0;  // lead followed by ASCII or another lead
constexpr char kTooLong = 1 << 1;   // ASCII followed by a continuation
constexpr char kOverlong3 = 1 << 2; // E0 80..9F
constexpr char kTooLarge = 1 << 3;  // F4 90..BF, F5..FF
constexpr char kSurrogate = 1 << 4; // ED A0..BF
constexpr char kOverlong2 = 1 << 5; // C0, C1
constexpr char kTooLarge1000 = 1 << 6;
constexpr char kOverlong4 = 1 << 6; // F0 80..8F
constexpr char kTwoConts = char(1 << 7);
constexpr char kCarry = kTooShort | kTooLong | kTwoConts;

struct Tables {
    __m128i firstHigh;
    __m128i firstLow;
    __m128i secondHigh;
    __m128i nibble;
    __m128i incompleteMax;
};

__attribute__((target("ssse3"))) Tables MakeTables()
{
    Tables t;
    t.firstHigh =
        _mm_setr_epi8(kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTwoConts,
                      kTwoConts, kTwoConts, kTwoConts, kTooShort | kOverlong2, kTooShort,
                      kTooShort | kOverlong3 | kSurrogate, kTooShort | kTooLarge | kTooLarge1000 | kOverlong4);
    t.firstLow = _mm_setr_epi8(kCarry | kOverlong3 | kOverlong2 | kOverlong4, kCarry | kOverlong2, kCarry, kCarry,
                               kCarry | kTooLarge, kCarry | kTooLarge | kTooLarge1000,
                               kCarry | kTooLarge | kTooLarge1000, kCarry | kTooLarge | kTooLarge1000,
                               kCarry | kTooLarge | kTooLarge1000, kCarry | kTooLarge | kTooLarge1000,
                               kCarry | kTooLarge | kTooLarge1000, kCarry | kTooLarge | kTooLarge1000,
                               kCarry | kTooLarge | kTooLarge1000, kCarry | kTooLarge | kTooLarge1000 | kSurrogate,
                               kCarry | kTooLarge | kTooLarge1000, kCarry | kTooLarge | kTooLarge1000);
    t.secondHigh = _mm_setr_epi8(kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort,
                                 kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge1000 | kOverlong4,
                                 kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge,
                                 kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge,
                                 kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge, kTooShort, kTooShort,
                                 kTooShort, kTooShort);
    t.nibble = _mm_set1_epi8(0x0F);
    // A lead in one of the last three bytes that needs more bytes than remain.
    t.incompleteMax = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, char(0xF0 - 1), char(0xE0 - 1),
                                    char(0xC0 - 1));
    return t;
}

__attribute__((target("ssse3"))) inline __m128i HighNibbles(__m128i v, __m128i nibble)
{
    return _mm_and_si128(_mm_srli_epi16(v, 4), nibble);
}

// Error bits of one block given the block before it.
__attribute__((target("ssse3"))) inline __m128i BlockErrors(const Tables& t, __m128i in, __m128i prev)
{
    const __m128i prev1 = _mm_alignr_epi8(in, prev, 15);
    const __m128i firstHigh = _mm_shuffle_epi8(t.firstHigh, HighNibbles(prev1, t.nibble));
    const __m128i firstLow = _mm_shuffle_epi8(t.firstLow, _mm_and_si128(prev1, t.nibble));
    const __m128i secondHigh = _mm_shuffle_epi8(t.secondHigh, HighNibbles(in, t.nibble));
    const __m128i special = _mm_and_si128(_mm_and_si128(firstHigh, firstLow), secondHigh);
    const __m128i prev2 = _mm_alignr_epi8(in, prev, 14);
    const __m128i prev3 = _mm_alignr_epi8(in, prev, 13);
    const __m128i third = _mm_subs_epu8(prev2, _mm_set1_epi8(char(0xE0 - 0x80)));
    const __m128i fourth = _mm_subs_epu8(prev3, _mm_set1_epi8(char(0xF0 - 0x80)));
    const __m128i must23 = _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(char(0x80)));
    return _mm_xor_si128(must23, special);
}

// UTF-16 units of one block: every byte but a continuation starts a character, and a four-byte
// lead adds a second unit.
__attribute__((target("ssse3"))) inline std::size_t BlockUnits(__m128i in)
{
    const unsigned starts = unsigned(_mm_movemask_epi8(_mm_cmpgt_epi8(in, _mm_set1_epi8(-65))));
    const unsigned fours =
        unsigned(_mm_movemask_epi8(_mm_cmpgt_epi8(in, _mm_set1_epi8(-17)))) & unsigned(_mm_movemask_epi8(in));
    return std::size_t(std::popcount(starts) + std::popcount(fours));
}

__attribute__((target("ssse3"))) long MeasureSsse3(const std::uint8_t* src, std::size_t n, bool& sawMultibyte)
{
    static const Tables tables = MakeTables();
    __m128i prev = _mm_setzero_si128();
    __m128i errors = _mm_setzero_si128();
    __m128i pendingIncomplete = _mm_setzero_si128();
    std::size_t units = 0;
    bool multi = false;
    std::size_t i = 0;
    for (; n - i >= 16; i += 16) {
        const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
        if (_mm_movemask_epi8(in) == 0) {
            // All ASCII: only a sequence left open by the block before can be wrong.
            errors = _mm_or_si128(errors, pendingIncomplete);
            pendingIncomplete = _mm_setzero_si128();
            prev = in;
            units += 16;
            continue;
        }
        multi = true;
        errors = _mm_or_si128(errors, BlockErrors(tables, in, prev));
        pendingIncomplete = _mm_subs_epu8(in, tables.incompleteMax);
        prev = in;
        units += BlockUnits(in);
    }
    if (i < n) {
        // The tail, padded with zero bytes: a sequence cut by the end meets ASCII and fails.
        alignas(16) std::uint8_t last[16] = {};
        std::memcpy(last, src + i, n - i);
        const __m128i in = _mm_load_si128(reinterpret_cast<const __m128i*>(last));
        if (_mm_movemask_epi8(in) != 0) {
            multi = true;
        }
        errors = _mm_or_si128(errors, BlockErrors(tables, in, prev));
        units += BlockUnits(in) - (16 - (n - i));
    } else {
        errors = _mm_or_si128(errors, pendingIncomplete);
    }
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(errors, _mm_setzero_si128())) != 0xFFFF) {
        return kInvalid;
    }
    sawMultibyte = multi;
    return long(units);
}

} // namespace

long MeasureUtf8Vector(const std::uint8_t* src, std::size_t n, bool& sawMultibyte)
{
    static const bool available = __builtin_cpu_supports("ssse3");
    if (!available) {
        return kNoVector;
    }
    return MeasureSsse3(src, n, sawMultibyte);
}

#else

long MeasureUtf8Vector(const std::uint8_t* /*src*/, std::size_t /*n*/, bool& /*sawMultibyte*/)
{
    return kNoVector;
}

#endif

} // namespace kf::detail::text
