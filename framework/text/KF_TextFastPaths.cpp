// The switches of the hand-written fast paths and of their vector instructions, and the zero-unit
// search they share.
#include "KF_TextCodec.hpp"
#include "KF_TextFastSupport.hpp"

#include <atomic>
#include <bit>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kf::detail::text {

namespace {

std::atomic<bool> sFastPaths{true};
std::atomic<VectorLevel> sVectorLimit{VectorLevel::AVX2};

VectorLevel ProcessorLevel()
{
#if defined(__x86_64__) || defined(__i386__)
    // Every level counts with the popcnt instruction too.
    static const bool popcnt = __builtin_cpu_supports("popcnt");
    static const VectorLevel level = popcnt && __builtin_cpu_supports("avx2")    ? VectorLevel::AVX2
                                     : popcnt && __builtin_cpu_supports("ssse3") ? VectorLevel::SSSE3
                                                                                 : VectorLevel::None;
    return level;
#else
    return VectorLevel::None;
#endif
}

#if defined(__x86_64__) || defined(__i386__)
// 32 units a round; returns where it stopped (a block with a zero unit, or the last 31 units).
__attribute__((target("avx2"))) std::size_t SkipNonZeroAvx2(const std::uint16_t* units, std::size_t n)
{
    const __m256i zero = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; n - i >= 32; i += 32) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(units + i));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(units + i + 16));
        if (!_mm256_testz_si256(_mm256_or_si256(_mm256_cmpeq_epi16(a, zero), _mm256_cmpeq_epi16(b, zero)),
                                _mm256_set1_epi8(-1))) {
            break;
        }
    }
    return i;
}
#endif

} // namespace

std::size_t FindZeroUnit(const std::uint16_t* units, std::size_t n)
{
    std::size_t i = 0;
#if defined(__x86_64__) || defined(__i386__)
    if (VectorLevelInUse() == VectorLevel::AVX2) {
        i = SkipNonZeroAvx2(units, n);
    }
#endif
#if KF_TEXT_SSE2
    const __m128i zero = _mm_setzero_si128();
    for (; n - i >= 8; i += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i));
        const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(v, zero));
        if (mask != 0) {
            return i + std::size_t(std::countr_zero(unsigned(mask))) / 2;
        }
    }
#endif
    for (; i < n; ++i) {
        if (units[i] == 0) {
            return i;
        }
    }
    return n;
}

VectorLevel VectorLevelInUse()
{
    const VectorLevel limit = sVectorLimit.load(std::memory_order_relaxed);
    const VectorLevel best = ProcessorLevel();
    return limit < best ? limit : best;
}

void SetVectorLimit(VectorLevel limit)
{
    sVectorLimit.store(limit, std::memory_order_relaxed);
}

bool FastPathsEnabled()
{
    // The fast routines store little-endian words directly.
    if constexpr (std::endian::native != std::endian::little) {
        return false;
    }
    return sFastPaths.load(std::memory_order_relaxed);
}

void SetFastPathsEnabled(bool enabled)
{
    sFastPaths.store(enabled, std::memory_order_relaxed);
}

} // namespace kf::detail::text
