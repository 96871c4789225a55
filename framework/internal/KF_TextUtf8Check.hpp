// Internal to the text area: the UTF-8 check with vector instructions, after the lookup-table
// method of Keiser and Lemire ("Validating UTF-8 In Less Than One Instruction Per Byte", 2021):
// three nibble lookups classify every pair of neighbouring bytes, and two saturating subtractions
// find where a third or fourth byte of a sequence must stand. The 16-byte form (SSSE3) lives here
// because the checking UTF-8 -> UTF-16 conversion uses it too.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KF_TEXT_X86_VECTORS 1
#endif

#include <cstdint>
#include <cstring>

namespace kf::detail::text::utf8check {

// Error bits; a pair of bytes is ill-formed when the three lookups share a bit.
constexpr std::uint8_t kTooShort = 1 << 0;  // lead followed by ASCII or another lead
constexpr std::uint8_t kTooLong = 1 << 1;   // ASCII followed by a continuation
constexpr std::uint8_t kOverlong3 = 1 << 2; // E0 80..9F
constexpr std::uint8_t kTooLarge = 1 << 3;  // F4 90..BF, F5..FF
constexpr std::uint8_t kSurrogate = 1 << 4; // ED A0..BF
constexpr std::uint8_t kOverlong2 = 1 << 5; // C0, C1
constexpr std::uint8_t kTooLarge1000 = 1 << 6;
constexpr std::uint8_t kOverlong4 = 1 << 6; // F0 80..8F
constexpr std::uint8_t kTwoConts = 1 << 7;
constexpr std::uint8_t kCarry = kTooShort | kTooLong | kTwoConts;

// Indexed by the high nibble of the first byte of a pair.
alignas(16) inline constexpr std::uint8_t kFirstHigh[16] = {kTooLong,
                                                            kTooLong,
                                                            kTooLong,
                                                            kTooLong,
                                                            kTooLong,
                                                            kTooLong,
                                                            kTooLong,
                                                            kTooLong,
                                                            kTwoConts,
                                                            kTwoConts,
                                                            kTwoConts,
                                                            kTwoConts,
                                                            kTooShort | kOverlong2,
                                                            kTooShort,
                                                            kTooShort | kOverlong3 | kSurrogate,
                                                            kTooShort | kTooLarge | kTooLarge1000 | kOverlong4};
// Indexed by the low nibble of the first byte.
alignas(16) inline constexpr std::uint8_t kFirstLow[16] = {kCarry | kOverlong3 | kOverlong2 | kOverlong4,
                                                           kCarry | kOverlong2,
                                                           kCarry,
                                                           kCarry,
                                                           kCarry | kTooLarge,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000 | kSurrogate,
                                                           kCarry | kTooLarge | kTooLarge1000,
                                                           kCarry | kTooLarge | kTooLarge1000};
// Indexed by the high nibble of the second byte.
alignas(16) inline constexpr std::uint8_t kSecondHigh[16] = {kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooLong | kOverlong2 | kTwoConts | kOverlong3 |
                                                                 kTooLarge1000 | kOverlong4,
                                                             kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge,
                                                             kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge,
                                                             kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort,
                                                             kTooShort};

#if KF_TEXT_X86_VECTORS

struct Tables16 {
    __m128i firstHigh;
    __m128i firstLow;
    __m128i secondHigh;
};

__attribute__((target("ssse3,popcnt"))) inline Tables16 LoadTables16()
{
    return {_mm_load_si128(reinterpret_cast<const __m128i*>(kFirstHigh)),
            _mm_load_si128(reinterpret_cast<const __m128i*>(kFirstLow)),
            _mm_load_si128(reinterpret_cast<const __m128i*>(kSecondHigh))};
}

// Error bits of a 16-byte block given the block before it (zero: the block starts a text).
__attribute__((target("ssse3,popcnt"))) inline __m128i BlockErrors16(const Tables16& t, __m128i in, __m128i prev)
{
    const __m128i nibble = _mm_set1_epi8(0x0F);
    const __m128i prev1 = _mm_alignr_epi8(in, prev, 15);
    const __m128i firstHigh = _mm_shuffle_epi8(t.firstHigh, _mm_and_si128(_mm_srli_epi16(prev1, 4), nibble));
    const __m128i firstLow = _mm_shuffle_epi8(t.firstLow, _mm_and_si128(prev1, nibble));
    const __m128i secondHigh = _mm_shuffle_epi8(t.secondHigh, _mm_and_si128(_mm_srli_epi16(in, 4), nibble));
    const __m128i special = _mm_and_si128(_mm_and_si128(firstHigh, firstLow), secondHigh);
    const __m128i prev2 = _mm_alignr_epi8(in, prev, 14);
    const __m128i prev3 = _mm_alignr_epi8(in, prev, 13);
    const __m128i third = _mm_subs_epu8(prev2, _mm_set1_epi8(char(0xE0 - 0x80)));
    const __m128i fourth = _mm_subs_epu8(prev3, _mm_set1_epi8(char(0xF0 - 0x80)));
    const __m128i must23 = _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(char(0x80)));
    return _mm_xor_si128(must23, special);
}

// Non-zero where a lead in one of the last three bytes needs more bytes than the block holds.
__attribute__((target("ssse3,popcnt"))) inline __m128i Incomplete16(__m128i in)
{
    const __m128i max = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, char(0xF0 - 1),
                                      char(0xE0 - 1), char(0xC0 - 1));
    return _mm_subs_epu8(in, max);
}

// The same on 32-byte registers (AVX2).

struct Tables32 {
    __m256i firstHigh;
    __m256i firstLow;
    __m256i secondHigh;
    __m256i incompleteMax;
};

__attribute__((target("avx2,popcnt"))) inline __m256i InBothHalves(const std::uint8_t* table)
{
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
}

__attribute__((target("avx2,popcnt"))) inline Tables32 LoadTables32()
{
    Tables32 t{InBothHalves(kFirstHigh), InBothHalves(kFirstLow), InBothHalves(kSecondHigh), _mm256_set1_epi8(-1)};
    // A lead in the last three bytes of the register that needs more bytes than remain.
    alignas(32) std::uint8_t max[32];
    std::memset(max, 0xFF, sizeof max);
    max[29] = 0xF0 - 1;
    max[30] = 0xE0 - 1;
    max[31] = 0xC0 - 1;
    t.incompleteMax = _mm256_load_si256(reinterpret_cast<const __m256i*>(max));
    return t;
}

// The register before in, shifted in by N bytes across the middle of the register.
template <int N>
__attribute__((target("avx2,popcnt"))) inline __m256i Behind(__m256i in, __m256i prev)
{
    return _mm256_alignr_epi8(in, _mm256_permute2x128_si256(prev, in, 0x21), 16 - N);
}

__attribute__((target("avx2,popcnt"))) inline __m256i BlockErrors32(const Tables32& t, __m256i in, __m256i prev)
{
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i prev1 = Behind<1>(in, prev);
    const __m256i firstHigh = _mm256_shuffle_epi8(t.firstHigh, _mm256_and_si256(_mm256_srli_epi16(prev1, 4), nibble));
    const __m256i firstLow = _mm256_shuffle_epi8(t.firstLow, _mm256_and_si256(prev1, nibble));
    const __m256i secondHigh = _mm256_shuffle_epi8(t.secondHigh, _mm256_and_si256(_mm256_srli_epi16(in, 4), nibble));
    const __m256i special = _mm256_and_si256(_mm256_and_si256(firstHigh, firstLow), secondHigh);
    const __m256i third = _mm256_subs_epu8(Behind<2>(in, prev), _mm256_set1_epi8(char(0xE0 - 0x80)));
    const __m256i fourth = _mm256_subs_epu8(Behind<3>(in, prev), _mm256_set1_epi8(char(0xF0 - 0x80)));
    const __m256i must23 = _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(char(0x80)));
    return _mm256_xor_si256(must23, special);
}

#endif

} // namespace kf::detail::text::utf8check
