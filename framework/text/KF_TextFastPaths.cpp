// The switches of the hand-written fast paths, and the zero-unit search they share.
#include "KF_TextCodec.hpp"
#include "KF_TextFastSupport.hpp"

#include <atomic>
#include <bit>

namespace kf::detail::text {

namespace {

std::atomic<bool> sFastPaths{true};
std::atomic<bool> sVectorPaths{true};

} // namespace

std::size_t FindZeroUnit(const std::uint16_t* units, std::size_t n)
{
    std::size_t i = 0;
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

bool VectorPathsEnabled()
{
    return sVectorPaths.load(std::memory_order_relaxed);
}

void SetVectorPathsEnabled(bool enabled)
{
    sVectorPaths.store(enabled, std::memory_order_relaxed);
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
