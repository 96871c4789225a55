// Internal to the text area: small pieces shared by the hand-written fast codecs.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#define KF_TEXT_SSE2 1
#endif

namespace kf::detail::text {

// Units are read and written as little-endian byte pairs, whatever their alignment.
inline std::uint16_t Load16(const std::uint8_t* p)
{
    return std::uint16_t(p[0] | (p[1] << 8));
}

inline void Store16(std::uint8_t* p, std::uint32_t unit)
{
    p[0] = std::uint8_t(unit);
    p[1] = std::uint8_t(unit >> 8);
}

// First byte at or after p that is not ASCII, or end.
inline const std::uint8_t* SkipAscii(const std::uint8_t* p, const std::uint8_t* end)
{
#if KF_TEXT_SSE2
    while (end - p >= 64) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32));
        const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 48));
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0) {
            break;
        }
        p += 64;
    }
    while (end - p >= 16) {
        const int mask = _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
        if (mask != 0) {
            return p + std::countr_zero(unsigned(mask));
        }
        p += 16;
    }
#else
    while (end - p >= 8) {
        std::uint64_t word;
        std::memcpy(&word, p, 8);
        if ((word & 0x8080808080808080ull) != 0) {
            break;
        }
        p += 8;
    }
#endif
    while (p < end && *p < 0x80) {
        ++p;
    }
    return p;
}

} // namespace kf::detail::text
