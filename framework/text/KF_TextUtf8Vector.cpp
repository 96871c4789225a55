// UTF-8 check and UTF-16 unit count with vector instructions: 16 bytes at a time with SSSE3, 64
// (two registers of 32) with AVX2, chosen at run time; elsewhere the scalar path answers.
#include "KF_TextCodec.hpp"
#include "KF_TextUtf8Check.hpp"

#include <bit>
#include <cstring>

namespace kf::detail::text {

#if KF_TEXT_X86_VECTORS

namespace {

using namespace utf8check;

// UTF-16 units of a block: every byte but a continuation starts a character, and a four-byte lead
// adds a second unit.
__attribute__((target("ssse3,popcnt"))) inline std::size_t BlockUnits16(__m128i in)
{
    const unsigned starts = unsigned(_mm_movemask_epi8(_mm_cmpgt_epi8(in, _mm_set1_epi8(-65))));
    const unsigned fours =
        unsigned(_mm_movemask_epi8(_mm_cmpgt_epi8(in, _mm_set1_epi8(-17)))) & unsigned(_mm_movemask_epi8(in));
    return std::size_t(std::popcount(starts) + std::popcount(fours));
}

struct Check16 {
    __m128i prev;
    __m128i errors;
    __m128i pendingIncomplete;
    std::size_t units;
    bool multi;
};

// One block of 64 bytes in four registers.
__attribute__((target("ssse3,popcnt"))) inline void Step16(const Tables16& t, Check16& c, const __m128i (&in)[4],
                                                           bool count)
{
    if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(in[0], in[1]), _mm_or_si128(in[2], in[3]))) == 0) {
        // All ASCII: only a sequence left open by the block before can be wrong.
        c.errors = _mm_or_si128(c.errors, c.pendingIncomplete);
        c.pendingIncomplete = _mm_setzero_si128();
    } else {
        c.multi = true;
        c.errors = _mm_or_si128(
            c.errors, _mm_or_si128(_mm_or_si128(BlockErrors16(t, in[0], c.prev), BlockErrors16(t, in[1], in[0])),
                                   _mm_or_si128(BlockErrors16(t, in[2], in[1]), BlockErrors16(t, in[3], in[2]))));
        c.pendingIncomplete = Incomplete16(in[3]);
        c.units +=
            count ? BlockUnits16(in[0]) + BlockUnits16(in[1]) + BlockUnits16(in[2]) + BlockUnits16(in[3]) - 64 : 0;
    }
    c.prev = in[3];
    c.units += 64;
}

__attribute__((target("ssse3,popcnt"))) long MeasureSsse3(const std::uint8_t* src, std::size_t n, bool count,
                                                          bool& sawMultibyte)
{
    const Tables16 t = LoadTables16();
    Check16 c{_mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128(), 0, false};
    __m128i in[4];
    std::size_t i = 0;
    for (; n - i >= 64; i += 64) {
        for (int k = 0; k < 4; ++k) {
            in[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 16 * k));
        }
        Step16(t, c, in, count);
    }
    if (i < n) {
        // The tail, padded with zero bytes: a sequence cut by the end meets ASCII and fails.
        alignas(16) std::uint8_t last[64] = {};
        std::memcpy(last, src + i, n - i);
        for (int k = 0; k < 4; ++k) {
            in[k] = _mm_load_si128(reinterpret_cast<const __m128i*>(last + 16 * k));
        }
        Step16(t, c, in, count);
        c.units -= 64 - (n - i);
    }
    const __m128i errors = _mm_or_si128(c.errors, c.pendingIncomplete);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(errors, _mm_setzero_si128())) != 0xFFFF) {
        return kInvalid;
    }
    sawMultibyte = c.multi;
    return long(c.units);
}

// --- AVX2: the same check on 32-byte registers ----------------------------------------------------

__attribute__((target("avx2,popcnt"))) inline std::size_t BlockUnits32(__m256i in)
{
    const auto starts = unsigned(_mm256_movemask_epi8(_mm256_cmpgt_epi8(in, _mm256_set1_epi8(-65))));
    const auto fours = unsigned(_mm256_movemask_epi8(_mm256_cmpgt_epi8(in, _mm256_set1_epi8(-17)))) &
                       unsigned(_mm256_movemask_epi8(in));
    return std::size_t(std::popcount(starts) + std::popcount(fours));
}

struct Check32 {
    __m256i prev;
    __m256i errors;
    __m256i pendingIncomplete;
    std::size_t units;
    bool multi;
};

// One block of 64 bytes in two registers.
__attribute__((target("avx2,popcnt"))) inline void Step32(const Tables32& t, Check32& c, __m256i a, __m256i b,
                                                          bool count)
{
    if (_mm256_movemask_epi8(_mm256_or_si256(a, b)) == 0) {
        // All ASCII: only a sequence left open by the block before can be wrong.
        c.errors = _mm256_or_si256(c.errors, c.pendingIncomplete);
        c.pendingIncomplete = _mm256_setzero_si256();
    } else {
        c.multi = true;
        c.errors = _mm256_or_si256(c.errors, _mm256_or_si256(BlockErrors32(t, a, c.prev), BlockErrors32(t, b, a)));
        c.pendingIncomplete = _mm256_subs_epu8(b, t.incompleteMax);
        c.units += count ? BlockUnits32(a) + BlockUnits32(b) - 64 : 0;
    }
    c.prev = b;
    c.units += 64;
}

__attribute__((target("avx2,popcnt"))) long MeasureAvx2(const std::uint8_t* src, std::size_t n, bool count,
                                                        bool& sawMultibyte)
{
    const Tables32 t = LoadTables32();
    Check32 c{_mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256(), 0, false};
    std::size_t i = 0;
    for (; n - i >= 64; i += 64) {
        Step32(t, c, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i)),
               _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 32)), count);
    }
    if (i < n) {
        // The tail, padded with zero bytes: a sequence cut by the end meets ASCII and fails.
        alignas(32) std::uint8_t last[64] = {};
        std::memcpy(last, src + i, n - i);
        Step32(t, c, _mm256_load_si256(reinterpret_cast<const __m256i*>(last)),
               _mm256_load_si256(reinterpret_cast<const __m256i*>(last + 32)), count);
        c.units -= 64 - (n - i);
    }
    const __m256i errors = _mm256_or_si256(c.errors, c.pendingIncomplete);
    if (!_mm256_testz_si256(errors, errors)) {
        return kInvalid;
    }
    sawMultibyte = c.multi;
    return long(c.units);
}

} // namespace

long MeasureUtf8Vector(const std::uint8_t* src, std::size_t n, bool count, bool& sawMultibyte)
{
    switch (VectorLevelInUse()) {
    case VectorLevel::AVX2:
        return MeasureAvx2(src, n, count, sawMultibyte);
    case VectorLevel::SSSE3:
        return MeasureSsse3(src, n, count, sawMultibyte);
    case VectorLevel::None:
        break;
    }
    return kNoVector;
}

#else

long MeasureUtf8Vector(const std::uint8_t* /*src*/, std::size_t /*n*/, bool /*count*/, bool& /*sawMultibyte*/)
{
    return kNoVector;
}

#endif

} // namespace kf::detail::text
