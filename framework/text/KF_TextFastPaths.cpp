// Hand-written UTF-8 and single-byte codecs. They exist for speed only: each must answer exactly
// as the platform converters do (the tests and fuzz targets compare the two), so any change here
// needs the differential tests to pass.
#include "KF_TextCodec.hpp"

#include <atomic>
#include <bit>
#include <cstring>
#include <mutex>

#if defined(__SSE2__)
#include <emmintrin.h>
#define KF_TEXT_SSE2 1
#endif

namespace detail::text {

namespace {

std::atomic<bool> sFastPaths{true};
std::atomic<bool> sVectorPaths{true};

inline std::uint16_t Load16(std::uint8_t const* p)
{
    return std::uint16_t(p[0] | (p[1] << 8));
}

inline void Store16(std::uint8_t* p, std::uint32_t unit)
{
    p[0] = std::uint8_t(unit);
    p[1] = std::uint8_t(unit >> 8);
}

// Length (2 to 4) of the well-formed multi-byte sequence at p, with its code point; 0 when the
// bytes there are not one. p[0] is at least 0x80.
inline int DecodeMulti(std::uint8_t const* p, std::uint8_t const* end, std::uint32_t& cp)
{
    std::uint32_t const b0 = p[0];
    std::size_t const avail = std::size_t(end - p);
    if (b0 < 0xC2) {
        return 0;
    }
    if (b0 < 0xE0) {
        if (avail < 2 || (p[1] & 0xC0) != 0x80) {
            return 0;
        }
        cp = ((b0 & 0x1F) << 6) | (p[1] & 0x3Fu);
        return 2;
    }
    if (b0 < 0xF0) {
        if (avail < 3) {
            return 0;
        }
        std::uint32_t const b1 = p[1];
        std::uint32_t const b2 = p[2];
        std::uint32_t const lo = b0 == 0xE0 ? 0xA0 : 0x80;
        std::uint32_t const hi = b0 == 0xED ? 0x9F : 0xBF;
        if (b1 < lo || b1 > hi || (b2 & 0xC0) != 0x80) {
            return 0;
        }
        cp = ((b0 & 0x0F) << 12) | ((b1 & 0x3F) << 6) | (b2 & 0x3F);
        return 3;
    }
    if (b0 < 0xF5) {
        if (avail < 4) {
            return 0;
        }
        std::uint32_t const b1 = p[1];
        std::uint32_t const lo = b0 == 0xF0 ? 0x90 : 0x80;
        std::uint32_t const hi = b0 == 0xF4 ? 0x8F : 0xBF;
        if (b1 < lo || b1 > hi || (p[2] & 0xC0) != 0x80 || (p[3] & 0xC0) != 0x80) {
            return 0;
        }
        cp = ((b0 & 0x07) << 18) | ((b1 & 0x3F) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
        return 4;
    }
    return 0;
}

// First byte at or after p that is not ASCII, or end.
inline std::uint8_t const* SkipAscii(std::uint8_t const* p, std::uint8_t const* end)
{
#if KF_TEXT_SSE2
    while (end - p >= 64) {
        __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
        __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p + 16));
        __m128i const c = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p + 32));
        __m128i const d = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p + 48));
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0) {
            break;
        }
        p += 64;
    }
    while (end - p >= 16) {
        int const mask = _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)));
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

// Validates src; returns the UTF-16 units it decodes to, or -1.
long MeasureUtf8(std::uint8_t const* src, std::size_t n, bool& sawMultibyte)
{
    if (sVectorPaths.load(std::memory_order_relaxed)) {
        long const units = MeasureUtf8Vector(src, n, sawMultibyte);
        if (units != kNoVector) {
            return units;
        }
    }
    std::uint8_t const* p = src;
    std::uint8_t const* const end = src + n;
    std::size_t saved = 0;  // bytes that do not become a unit of their own
    while (p < end) {
        if (*p < 0x80) {
            p = SkipAscii(p, end);
            continue;
        }
        std::uint32_t cp = 0;
        int const len = DecodeMulti(p, end, cp);
        if (len == 0) {
            return kInvalid;
        }
        saved += std::size_t(len == 4 ? 2 : len - 1);
        sawMultibyte = true;
        p += len;
    }
    return long(n - saved);
}

} // namespace

std::size_t FindZeroUnit(std::uint16_t const* units, std::size_t n)
{
    std::size_t i = 0;
#if KF_TEXT_SSE2
    __m128i const zero = _mm_setzero_si128();
    for (; n - i >= 8; i += 8) {
        __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(units + i));
        int const mask = _mm_movemask_epi8(_mm_cmpeq_epi16(v, zero));
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

bool ValidateUtf8(std::uint8_t const* src, std::size_t n, bool& sawMultibyte)
{
    sawMultibyte = false;
    return MeasureUtf8(src, n, sawMultibyte) >= 0;
}

long Utf8ToUtf16(std::uint8_t const* src, std::size_t n, std::uint8_t* out, std::size_t outCap)
{
    bool multi = false;
    if (out == nullptr) {
        long const units = MeasureUtf8(src, n, multi);
        return units < 0 ? kInvalid : units * 2;
    }
    std::uint8_t const* p = src;
    std::uint8_t const* const end = src + n;
    std::uint8_t* o = out;
    std::uint8_t* const oend = out + (outCap & ~std::size_t(1));
    while (p < end) {
        if (*p < 0x80) {
#if KF_TEXT_SSE2
            __m128i const zero = _mm_setzero_si128();
            while (end - p >= 16 && oend - o >= 32) {
                __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_unpacklo_epi8(v, zero));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm_unpackhi_epi8(v, zero));
                int const mask = _mm_movemask_epi8(v);
                if (mask != 0) {
                    // The units behind the first non-ASCII byte are rewritten below.
                    int const k = std::countr_zero(unsigned(mask));
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
            int const len = DecodeMulti(p, end, cp);
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
inline std::size_t Utf8LengthAt(std::uint8_t const* src, std::size_t i, std::size_t units, bool lossy,
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

// Bytes of UTF-8 for the units; -1 for an unpaired surrogate that may not be replaced.
long MeasureUtf16AsUtf8(std::uint8_t const* src, std::size_t units, bool lossy)
{
    std::size_t bytes = 0;
    std::size_t i = 0;
#if KF_TEXT_SSE2
    __m128i const zero = _mm_setzero_si128();
    __m128i const below80 = _mm_set1_epi16(0x7F);
    __m128i const below800 = _mm_set1_epi16(0x7FF);
    __m128i const kindMask = _mm_set1_epi16(short(0xFC00));
    __m128i const highBits = _mm_set1_epi16(short(0xD800));
    __m128i const lowBits = _mm_set1_epi16(short(0xDC00));
    __m128i const firstSeven = _mm_setr_epi16(-1, -1, -1, -1, -1, -1, -1, 0);
    while (units - i >= 8) {
        // Every unit is first counted as three bytes; each lane then adds -1 when the unit is
        // below 0x80, -1 when below 0x800, and -1 when it is half of a pair (4 bytes for two).
        // The 16-bit lanes take at most -2 a round: flush them long before they could overflow.
        __m128i acc = zero;
        std::size_t counted = 0;
        for (int round = 0; round < 8192 && units - i >= 8; ++round) {
            __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i));
            __m128i const kind = _mm_and_si128(v, kindMask);
            __m128i const high = _mm_cmpeq_epi16(kind, highBits);
            __m128i const low = _mm_cmpeq_epi16(kind, lowBits);
            __m128i const small = _mm_add_epi16(_mm_cmpeq_epi16(_mm_subs_epu16(v, below80), zero),
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
                break;  // an unpaired surrogate: counted one by one below
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
            std::size_t const stop = i + 8;
            while (i < stop) {
                std::size_t used = 0;
                bytes += Utf8LengthAt(src, i, units, lossy, used);
                if (used == 0) {
                    return kInvalid;
                }
                i += used;
            }
        }
    }
#endif
    while (i < units) {
        std::size_t used = 0;
        bytes += Utf8LengthAt(src, i, units, lossy, used);
        if (used == 0) {
            return kInvalid;
        }
        i += used;
    }
    return long(bytes);
}

} // namespace

namespace {

// Writes one non-surrogate BMP unit as UTF-8 without branching on its length; always stores four
// bytes, of which the unit's length count. Returns that length.
struct Utf8Form {
    std::uint32_t top;    // where (unit << 4) lands: the lead's payload of a three-byte form
    std::uint32_t mid;    // where (unit << 2) lands: the middle payload
    std::uint32_t low;    // where the unit itself lands: the last payload
    std::uint32_t marks;  // lead and continuation marks
    std::uint32_t shift;  // moves the form to the top of the word before the byte swap
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
    Utf8Form const& f = kUtf8Forms[length];
    std::uint32_t const bigEndian = ((u << 4) & f.top) | ((u << 2) & f.mid) | (u & f.low) | f.marks;
    std::uint32_t const word = __builtin_bswap32(bigEndian << f.shift);
    std::memcpy(o, &word, 4);
    return length;
}

// Writes the surrogate at i (and its partner) as UTF-8 or "?". Returns the units used, or 0 when
// the surrogate is unpaired and may not be replaced.
inline std::size_t PutSurrogate(std::uint8_t const* src, std::size_t i, std::size_t units, bool lossy,
                                std::uint8_t* o, std::size_t& written)
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

} // namespace

long Utf16ToUtf8(std::uint8_t const* src, std::size_t units, std::uint8_t* out, std::size_t outCap, bool lossy)
{
    if (out == nullptr) {
        return MeasureUtf16AsUtf8(src, units, lossy);
    }
    std::uint8_t* o = out;
    std::uint8_t* const oend = out + outCap;
    std::size_t i = 0;
    // Blocks of 16 units while the output surely has room: the ASCII units that open a block are
    // packed at once, then a fixed run of units is written one by one (a fixed trip count keeps
    // mixed text free of mispredicted loop exits).
    constexpr std::size_t kBlock = 16;
    constexpr std::size_t kRun = 8;
    constexpr std::ptrdiff_t kBlockRoom = 3 * kBlock + 4;
    while (units - i >= kBlock && oend - o >= kBlockRoom) {
#if KF_TEXT_SSE2
        __m128i const highBits = _mm_set1_epi16(short(0xFF80));
        __m128i const zero = _mm_setzero_si128();
        __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i));
        __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i + 16));
        // Two mask bits per unit, set where the unit is ASCII (the signed pack alone cannot tell).
        unsigned const ascii = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, highBits), zero))) |
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
            std::uint32_t const u = Load16(src + 2 * i);
            if (IsSurrogate(u)) {
                std::size_t written = 0;
                std::size_t const used = PutSurrogate(src, i, units, lossy, o, written);
                if (used == 0) {
                    return kInvalid;
                }
                i += used;
                o += written;
                continue;
            }
            o += PutBmp(o, u);
            ++i;
        }
    }
    // The rest, with an exact room check before every write.
    while (i < units) {
        std::uint32_t const u = Load16(src + 2 * i);
        std::size_t const need = IsSurrogate(u) ? 4 : 1 + std::size_t(u >= 0x80) + std::size_t(u >= 0x800);
        if (oend - o < std::ptrdiff_t(need < 4 ? 4 : need)) {
            // Too close to the end for the four-byte stores: write through a scratch buffer.
            std::uint8_t scratch[8];
            std::size_t written = 0;
            std::size_t used = 1;
            if (IsSurrogate(u)) {
                used = PutSurrogate(src, i, units, lossy, scratch, written);
                if (used == 0) {
                    return kInvalid;
                }
            } else {
                written = PutBmp(scratch, u);
            }
            if (std::size_t(oend - o) < written) {
                return MeasureUtf16AsUtf8(src + 2 * i, units - i, lossy) < 0 ? kInvalid : kTooSmall;
            }
            std::memcpy(o, scratch, written);
            o += written;
            i += used;
            continue;
        }
        if (IsSurrogate(u)) {
            std::size_t written = 0;
            std::size_t const used = PutSurrogate(src, i, units, lossy, o, written);
            if (used == 0) {
                return kInvalid;
            }
            i += used;
            o += written;
            continue;
        }
        o += PutBmp(o, u);
        ++i;
    }
    return long(o - out);
}

// --- single-byte encodings ------------------------------------------------------------------

namespace {

constexpr std::uint16_t kUnmapped = 0xFFFF;

// Shared by every high byte that no character of an encoding uses, so that lookups need no test.
std::uint16_t const* UnmappedPage()
{
    static std::uint16_t const* const page = [] {
        auto* p = new std::uint16_t[256];
        for (int k = 0; k < 256; ++k) {
            p[k] = kUnmapped;
        }
        return p;
    }();
    return page;
}

constexpr std::uint32_t kNoCharacter = 0x10000;

SingleByteTable* BuildTable(Codec codec)
{
    auto* table = new SingleByteTable{};
    table->usable = true;
    table->allValid = true;
    for (std::uint16_t const*& page : table->fromUnit) {
        page = UnmappedPage();
    }
    std::vector<char16_t> units;
    int fixFirst = 256;
    int fixLast = -1;
    for (int b = 0; b < 256; ++b) {
        char const byte = char(b);
        table->toUnit[b] = kNoCharacter;
        if (!PlatformDecode(codec, &byte, 1, units)) {
            table->allValid = false;
        } else if (units.size() != 1 || units[0] == kUnmapped || (units[0] >= 0xD800 && units[0] <= 0xDFFF)) {
            table->usable = false;
            return table;
        } else {
            table->toUnit[b] = units[0];
        }
        if (table->toUnit[b] != std::uint32_t(b)) {
            if (b < 128) {
                // The fast loops copy ASCII through unchanged.
                table->usable = false;
                return table;
            }
            fixFirst = fixFirst < b ? fixFirst : b;
            fixLast = b;
        }
    }
    table->fixFirst = std::uint8_t(fixFirst > 255 ? 255 : fixFirst);
    table->fixLast = std::uint8_t(fixLast < 0 ? 0 : fixLast);
    if (table->allValid && fixFirst <= fixLast) {
        auto* pairs = new std::uint32_t[65536];
        for (std::uint32_t p = 0; p < 65536; ++p) {
            pairs[p] = table->toUnit[p & 0xFF] | (table->toUnit[p >> 8] << 16);
        }
        table->pairs = pairs;
    }
    // The converter's own answer for every unit that some byte decodes to; every other unit is
    // assumed unmappable (the tests check the whole BMP against the converter).
    std::string bytes;
    for (int b = 0; b < 256; ++b) {
        if (table->toUnit[b] == kNoCharacter) {
            continue;
        }
        std::uint16_t const u = std::uint16_t(table->toUnit[b]);
        char16_t const unit = char16_t(u);
        if (!PlatformEncode(codec, &unit, 1, false, bytes) || bytes.size() != 1) {
            continue;
        }
        std::uint16_t const*& page = table->fromUnit[u >> 8];
        if (page == UnmappedPage()) {
            auto* fresh = new std::uint16_t[256];
            for (int k = 0; k < 256; ++k) {
                fresh[k] = kUnmapped;
            }
            page = fresh;
        }
        const_cast<std::uint16_t*>(page)[u & 0xFF] = std::uint8_t(bytes[0]);
    }
    return table;
}

} // namespace

SingleByteTable const* TableFor(Codec codec)
{
    // Built on first use and kept for the life of the process (static destructors may still
    // convert text).
    static SingleByteTable* tables[4] = {};
    static std::once_flag once[4];
    int slot = 0;
    switch (codec) {
        case Codec::ASCII: slot = 0; break;
        case Codec::MacRoman: slot = 1; break;
        case Codec::WinLatin1: slot = 2; break;
        case Codec::ISOLatin1: slot = 3; break;
        default: return nullptr;
    }
    std::call_once(once[slot], [&] { tables[slot] = BuildTable(codec); });
    return tables[slot]->usable ? tables[slot] : nullptr;
}

long SingleByteToUtf16(SingleByteTable const& table, std::uint8_t const* src, std::size_t n, std::uint8_t* out,
                       std::size_t outCap)
{
    if (out == nullptr) {
        if (table.allValid) {
            return long(n * 2);
        }
        for (std::size_t i = 0; i < n;) {
            if (src[i] < 0x80) {
                i = std::size_t(SkipAscii(src + i, src + n) - src);
                continue;
            }
            if (table.toUnit[src[i]] == kNoCharacter) {
                return kInvalid;
            }
            ++i;
        }
        return long(n * 2);
    }
    if (outCap < n * 2) {
        return SingleByteToUtf16(table, src, n, nullptr, 0) < 0 ? kInvalid : kTooSmall;
    }
    std::uint32_t seen = 0;  // collects kNoCharacter
    std::size_t i = 0;
#if KF_TEXT_SSE2
    __m128i const zero = _mm_setzero_si128();
    __m128i const first = _mm_set1_epi8(char(table.fixFirst));
    __m128i const span = _mm_set1_epi8(char(table.fixLast - table.fixFirst));
    bool const anyFix = table.fixFirst <= table.fixLast;
    for (; n - i >= 16; i += 16) {
        __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + i));
        if (table.pairs != nullptr && _mm_movemask_epi8(v) != 0) {
            // Two bytes per look-up, a fixed eight look-ups per block: no branch on the data.
            auto pair = [&](std::size_t k) { return int(table.pairs[src[k] | (src[k + 1] << 8)]); };
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i),
                             _mm_setr_epi32(pair(i), pair(i + 2), pair(i + 4), pair(i + 6)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 16),
                             _mm_setr_epi32(pair(i + 8), pair(i + 10), pair(i + 12), pair(i + 14)));
            continue;
        }
        // Every byte is widened as if it were its own unit; the few that are not (only when there
        // is no pair table) are then looked up one by one.
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_unpacklo_epi8(v, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 16), _mm_unpackhi_epi8(v, zero));
        if (!anyFix || table.pairs != nullptr) {
            continue;
        }
        __m128i const offset = _mm_sub_epi8(v, first);
        unsigned fix = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_subs_epu8(offset, span), zero)));
        while (fix != 0) {
            std::size_t const k = i + std::size_t(std::countr_zero(fix));
            std::uint32_t const u = table.toUnit[src[k]];
            seen |= u;
            Store16(out + 2 * k, u);
            fix &= fix - 1;
        }
    }
#endif
    for (; i < n; ++i) {
        std::uint32_t const u = table.toUnit[src[i]];
        seen |= u;
        Store16(out + 2 * i, u);
    }
    return (seen & kNoCharacter) != 0 ? kInvalid : long(n * 2);
}

long Utf16ToSingleByte(SingleByteTable const& table, std::uint8_t const* src, std::size_t units, std::uint8_t* out,
                       std::size_t outCap, bool lossy)
{
    std::size_t written = 0;
    std::size_t i = 0;
    bool overflowed = false;
    while (i < units) {
#if KF_TEXT_SSE2
        __m128i const highBits = _mm_set1_epi16(short(0xFF80));
        __m128i const zero = _mm_setzero_si128();
        while (units - i >= 16) {
            __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i));
            __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i + 16));
            __m128i const high = _mm_and_si128(_mm_or_si128(a, b), highBits);
            if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, zero)) != 0xFFFF) {
                break;
            }
            if (out != nullptr && !overflowed) {
                if (outCap - written >= 16) {
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), _mm_packus_epi16(a, b));
                } else {
                    overflowed = true;
                }
            }
            written += 16;
            i += 16;
        }
#endif
        std::size_t const stop = units - i >= 16 ? i + 16 : units;
        while (i < stop) {
            std::uint32_t const u = Load16(src + 2 * i);
            std::uint32_t byte = table.fromUnit[u >> 8][u & 0xFF];
            ++i;
            if (byte == kUnmapped) {
                if (!lossy) {
                    return kInvalid;
                }
                // A surrogate pair is one character and becomes one "?".
                if (u >= 0xD800 && u <= 0xDBFF && i < units && (Load16(src + 2 * i) & 0xFC00) == 0xDC00) {
                    ++i;
                }
                byte = '?';
            }
            if (out != nullptr && !overflowed) {
                if (written < outCap) {
                    out[written] = std::uint8_t(byte);
                } else {
                    overflowed = true;
                }
            }
            ++written;
        }
    }
    return overflowed ? kTooSmall : long(written);
}

} // namespace detail::text
