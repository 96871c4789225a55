// Hand-written UTF-8 <-> UTF-16 conversion. It exists for speed only: every answer must be the
// platform converters' answer (the differential tests and fuzz targets compare the two).
#include "KF_TextCodec.hpp"
#include "KF_TextFastSupport.hpp"
#include "kfsdk/Utf8.hpp"

#include <bit>
#include <cstring>

namespace kf::detail::text {

namespace {

// Length (2 to 4) of the well-formed multi-byte sequence at p, with its code point; 0 when the
// bytes there are not one. p[0] is at least 0x80.
inline int DecodeMulti(const std::uint8_t* p, const std::uint8_t* end, std::uint32_t& cp)
{
    char32_t c = 0;
    int bad = 0;
    const int len = kfsdk::DecodeUTF8One(p, end, c, bad);
    cp = c;
    return len;
}

// Validates src; returns the UTF-16 units it decodes to, or -1.
long MeasureUtf8Scalar(const std::uint8_t* src, std::size_t n, bool& sawMultibyte)
{
    const std::uint8_t* p = src;
    const std::uint8_t* const end = src + n;
    std::size_t saved = 0; // bytes that do not become a unit of their own
    while (p < end) {
        if (*p < 0x80) {
            p = SkipAscii(p, end);
            continue;
        }
        std::uint32_t cp = 0;
        const int len = DecodeMulti(p, end, cp);
        if (len == 0) {
            return kInvalid;
        }
        saved += std::size_t(len == 4 ? 2 : len - 1);
        sawMultibyte = true;
        p += len;
    }
    return long(n - saved);
}

long MeasureUtf8(const std::uint8_t* src, std::size_t n, bool& sawMultibyte)
{
    const long units = MeasureUtf8Vector(src, n, true, sawMultibyte);
    return units != kNoVector ? units : MeasureUtf8Scalar(src, n, sawMultibyte);
}

} // namespace

bool ValidateUtf8(const std::uint8_t* src, std::size_t n, bool& sawMultibyte)
{
    sawMultibyte = false;
    const long checked = MeasureUtf8Vector(src, n, false, sawMultibyte);
    return (checked != kNoVector ? checked : MeasureUtf8Scalar(src, n, sawMultibyte)) >= 0;
}

long Utf8ToUtf16(const std::uint8_t* src, std::size_t n, std::uint8_t* out, std::size_t outCap)
{
    bool multi = false;
    if (out == nullptr) {
        const long units = MeasureUtf8(src, n, multi);
        return units < 0 ? kInvalid : units * 2;
    }
    const std::uint8_t* p = src;
    const std::uint8_t* const end = src + n;
    std::uint8_t* o = out;
    std::uint8_t* const oend = out + (outCap & ~std::size_t(1));
    if (Utf8ToUtf16Vector(p, end, o, oend) == kInvalid) {
        return kInvalid;
    }
    while (p < end) {
        if (*p < 0x80) {
#if KF_TEXT_SSE2
            const __m128i zero = _mm_setzero_si128();
            while (end - p >= 16 && oend - o >= 32) {
                const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_unpacklo_epi8(v, zero));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm_unpackhi_epi8(v, zero));
                const int mask = _mm_movemask_epi8(v);
                if (mask != 0) {
                    // The units behind the first non-ASCII byte are rewritten below.
                    const int k = std::countr_zero(unsigned(mask));
                    p += k;
                    o += 2 * k;
                    break;
                }
                p += 16;
                o += 32;
            }
#endif
            while (p < end && *p < 0x80) {
                if (oend - o < 2) {
                    goto overflow;
                }
                o[0] = *p;
                o[1] = 0;
                o += 2;
                ++p;
            }
            continue;
        }
        {
            std::uint32_t cp = 0;
            const int len = DecodeMulti(p, end, cp);
            if (len == 0) {
                return kInvalid;
            }
            if (cp >= 0x10000) {
                if (oend - o < 4) {
                    goto overflow;
                }
                cp -= 0x10000;
                Store16(o, 0xD800 + (cp >> 10));
                Store16(o + 2, 0xDC00 + (cp & 0x3FF));
                o += 4;
            } else {
                if (oend - o < 2) {
                    goto overflow;
                }
                Store16(o, cp);
                o += 2;
            }
            p += len;
        }
    }
    return long(o - out);
overflow:
    return MeasureUtf8(p, std::size_t(end - p), multi) < 0 ? kInvalid : kTooSmall;
}

namespace {

// Bytes of UTF-8 for one unit (or pair) at i, with the units it uses; used 0 for an unpaired
// surrogate that may not be replaced.
inline std::size_t Utf8LengthAt(const std::uint8_t* src, std::size_t i, std::size_t units, bool lossy,
                                std::size_t& used)
{
    std::uint32_t const u = Load16(src + 2 * i);
    used = 1;
    if (u < 0x80) {
        return 1;
    }
    if (u < 0x800) {
        return 2;
    }
    if (u < 0xD800 || u > 0xDFFF) {
        return 3;
    }
    if (u <= 0xDBFF && i + 1 < units && (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
        used = 2;
        return 4;
    }
    used = lossy ? 1 : 0;
    return 1;
}

// Adds the bytes of UTF-8 for the units from i up to stop (a pair may end behind it), moving i;
// false for an unpaired surrogate that may not be replaced.
inline bool CountByUnit(const std::uint8_t* src, std::size_t& i, std::size_t stop, std::size_t units, bool lossy,
                        std::size_t& bytes)
{
    while (i < stop) {
        std::size_t used = 0;
        bytes += Utf8LengthAt(src, i, units, lossy, used);
        if (used == 0) {
            return false;
        }
        i += used;
    }
    return true;
}

// Bytes of UTF-8 for the units; -1 for an unpaired surrogate that may not be replaced.
long MeasureUtf16AsUtf8(const std::uint8_t* src, std::size_t units, bool lossy)
{
    std::size_t bytes = 0;
    std::size_t i = 0;
    for (long counted = MeasureUtf16Vector(src, i, units); counted != kNoVector;
         counted = MeasureUtf16Vector(src, i, units)) {
        bytes += std::size_t(counted);
        if (units - i < 16) {
            break;
        }
        // A block with a surrogate that is not half of a pair: unit by unit through it.
        if (!CountByUnit(src, i, i + 16, units, lossy, bytes)) {
            return kInvalid;
        }
    }
#if KF_TEXT_SSE2
    const __m128i zero = _mm_setzero_si128();
    const __m128i below80 = _mm_set1_epi16(0x7F);
    const __m128i below800 = _mm_set1_epi16(0x7FF);
    const __m128i kindMask = _mm_set1_epi16(short(0xFC00));
    const __m128i highBits = _mm_set1_epi16(short(0xD800));
    const __m128i lowBits = _mm_set1_epi16(short(0xDC00));
    const __m128i firstSeven = _mm_setr_epi16(-1, -1, -1, -1, -1, -1, -1, 0);
    while (units - i >= 8) {
        // Every unit is first counted as three bytes; each lane then adds -1 when the unit is
        // below 0x80, -1 when below 0x800, and -1 when it is half of a pair (4 bytes for two).
        // The 16-bit lanes take at most -2 a round: flush them long before they could overflow.
        __m128i acc = zero;
        std::size_t counted = 0;
        for (int round = 0; round < 8192 && units - i >= 8; ++round) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
            const __m128i kind = _mm_and_si128(v, kindMask);
            const __m128i high = _mm_cmpeq_epi16(kind, highBits);
            const __m128i low = _mm_cmpeq_epi16(kind, lowBits);
            const __m128i small = _mm_add_epi16(_mm_cmpeq_epi16(_mm_subs_epu16(v, below80), zero),
                                                _mm_cmpeq_epi16(_mm_subs_epu16(v, below800), zero));
            unsigned hiMask = unsigned(_mm_movemask_epi8(high));
            unsigned loMask = unsigned(_mm_movemask_epi8(low));
            if ((hiMask | loMask) == 0) {
                acc = _mm_add_epi16(acc, small);
                counted += 8;
                i += 8;
                continue;
            }
            // A high surrogate in the last lane pairs with the next block: leave it for that one.
            std::size_t take = 8;
            __m128i keep = _mm_set1_epi16(-1);
            if ((hiMask & 0xC000) != 0) {
                take = 7;
                keep = firstSeven;
                hiMask &= 0x3FFF;
                loMask &= 0x3FFF;
            }
            if ((hiMask << 2) != loMask) {
                break; // an unpaired surrogate: counted one by one below
            }
            acc = _mm_add_epi16(acc, _mm_and_si128(_mm_add_epi16(small, _mm_or_si128(high, low)), keep));
            counted += take;
            i += take;
        }
        alignas(16) std::int16_t lanes[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), acc);
        long saved = 0;
        for (std::int16_t lane : lanes) {
            saved -= lane;
        }
        bytes += 3 * counted - std::size_t(saved);
        if (units - i >= 8 && counted == 0) {
            // The block at i holds an unpaired surrogate: step over it unit by unit.
            if (!CountByUnit(src, i, i + 8, units, lossy, bytes)) {
                return kInvalid;
            }
        }
    }
#endif
    return CountByUnit(src, i, units, units, lossy, bytes) ? long(bytes) : kInvalid;
}

} // namespace

namespace {

// Writes one non-surrogate BMP unit as UTF-8 without branching on its length; always stores four
// bytes, of which the unit's length count. Returns that length.
struct Utf8Form {
    std::uint32_t top;   // where (unit << 4) lands: the lead's payload of a three-byte form
    std::uint32_t mid;   // where (unit << 2) lands: the middle payload
    std::uint32_t low;   // where the unit itself lands: the last payload
    std::uint32_t marks; // lead and continuation marks
    std::uint32_t shift; // moves the form to the top of the word before the byte swap
};

constexpr Utf8Form kUtf8Forms[4] = {
    {0, 0, 0, 0, 0},
    {0, 0, 0x7F, 0, 24},
    {0, 0x1F00, 0x3F, 0xC080, 16},
    {0x0F0000, 0x3F00, 0x3F, 0xE08080, 8},
};

inline std::size_t PutBmp(std::uint8_t* o, std::uint32_t u)
{
    // The form is looked up by length rather than chosen by branches: in mixed text the length
    // changes too often to predict.
    std::size_t const length = 1 + std::size_t(u >= 0x80) + std::size_t(u >= 0x800);
    const Utf8Form& f = kUtf8Forms[length];
    std::uint32_t const bigEndian = ((u << 4) & f.top) | ((u << 2) & f.mid) | (u & f.low) | f.marks;
    std::uint32_t const word = __builtin_bswap32(bigEndian << f.shift);
    std::memcpy(o, &word, 4);
    return length;
}

// Writes the surrogate at i (and its partner) as UTF-8 or "?". Returns the units used, or 0 when
// the surrogate is unpaired and may not be replaced.
inline std::size_t PutSurrogate(const std::uint8_t* src, std::size_t i, std::size_t units, bool lossy, std::uint8_t* o,
                                std::size_t& written)
{
    std::uint32_t const u = Load16(src + 2 * i);
    if (u <= 0xDBFF && i + 1 < units && (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
        std::uint32_t const cp = 0x10000 + ((u - 0xD800) << 10) + (Load16(src + 2 * i + 2) - 0xDC00u);
        o[0] = std::uint8_t(0xF0 | (cp >> 18));
        o[1] = std::uint8_t(0x80 | ((cp >> 12) & 0x3F));
        o[2] = std::uint8_t(0x80 | ((cp >> 6) & 0x3F));
        o[3] = std::uint8_t(0x80 | (cp & 0x3F));
        written = 4;
        return 2;
    }
    if (!lossy) {
        return 0;
    }
    o[0] = '?';
    written = 1;
    return 1;
}

inline bool IsSurrogate(std::uint32_t u)
{
    return (u & 0xF800) == 0xD800;
}

// Writes the character at i with four-byte stores and moves o past it. Returns the units used, or 0
// when an unpaired surrogate may not be replaced.
inline std::size_t PutChar(const std::uint8_t* src, std::size_t i, std::size_t units, bool lossy, std::uint8_t*& o)
{
    std::uint32_t const u = Load16(src + 2 * i);
    if (IsSurrogate(u)) {
        std::size_t written = 0;
        std::size_t const used = PutSurrogate(src, i, units, lossy, o, written);
        o += written;
        return used;
    }
    o += PutBmp(o, u);
    return 1;
}

} // namespace

long Utf16ToUtf8(const std::uint8_t* src, std::size_t units, std::uint8_t* out, std::size_t outCap, bool lossy)
{
    if (out == nullptr) {
        return MeasureUtf16AsUtf8(src, units, lossy);
    }
    std::uint8_t* o = out;
    std::uint8_t* const oend = out + outCap;
    std::size_t i = 0;
    if (Utf16ToUtf8Vector(src, i, units, o, oend, lossy) == kInvalid) {
        return kInvalid;
    }
    // Blocks of 16 units while the output surely has room: the ASCII units that open a block are
    // packed at once, then a fixed run of units is written one by one (a fixed trip count keeps
    // mixed text free of mispredicted loop exits).
    constexpr std::size_t kBlock = 16;
    constexpr std::size_t kRun = 8;
    constexpr std::ptrdiff_t kBlockRoom = 3 * kBlock + 4;
    while (units - i >= kBlock && oend - o >= kBlockRoom) {
#if KF_TEXT_SSE2
        const __m128i highBits = _mm_set1_epi16(short(0xFF80));
        const __m128i zero = _mm_setzero_si128();
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i + 16));
        // Two mask bits per unit, set where the unit is ASCII (the signed pack alone cannot tell).
        const unsigned ascii = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, highBits), zero))) |
                               (unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(b, highBits), zero))) << 16);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(a, b));
        if (ascii == 0xFFFFFFFFu) {
            i += kBlock;
            o += kBlock;
            continue;
        }
        std::size_t const k = std::size_t(std::countr_zero(~ascii)) / 2;
        i += k;
        o += k;
#endif
        std::size_t const stop = units - i > kRun ? i + kRun : units;
        while (i < stop) {
            std::size_t const used = PutChar(src, i, units, lossy, o);
            if (used == 0) {
                return kInvalid;
            }
            i += used;
        }
    }
    // The rest, with an exact room check before every write.
    while (i < units) {
        std::uint32_t const u = Load16(src + 2 * i);
        std::size_t const need = IsSurrogate(u) ? 4 : 1 + std::size_t(u >= 0x80) + std::size_t(u >= 0x800);
        if (oend - o < std::ptrdiff_t(need < 4 ? 4 : need)) {
            // Too close to the end for the four-byte stores: write through a scratch buffer.
            std::uint8_t scratch[8];
            std::uint8_t* end = scratch;
            std::size_t const used = PutChar(src, i, units, lossy, end);
            if (used == 0) {
                return kInvalid;
            }
            std::size_t const written = std::size_t(end - scratch);
            if (std::size_t(oend - o) < written) {
                return MeasureUtf16AsUtf8(src + 2 * i, units - i, lossy) < 0 ? kInvalid : kTooSmall;
            }
            std::memcpy(o, scratch, written);
            o += written;
            i += used;
            continue;
        }
        std::size_t const used = PutChar(src, i, units, lossy, o);
        if (used == 0) {
            return kInvalid;
        }
        i += used;
    }
    return long(o - out);
}

} // namespace kf::detail::text
