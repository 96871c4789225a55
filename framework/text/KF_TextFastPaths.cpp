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

bool FastPathsEnabled()
{
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

// Bytes of UTF-8 for units starting at i; -1 for an unpaired surrogate that may not be replaced.
long MeasureUtf16AsUtf8(std::uint8_t const* src, std::size_t units, bool lossy)
{
    std::size_t bytes = 0;
    std::size_t i = 0;
#if KF_TEXT_SSE2
    __m128i const surrogateMask = _mm_set1_epi16(short(0xF800));
    __m128i const surrogateBits = _mm_set1_epi16(short(0xD800));
    __m128i const below80 = _mm_set1_epi16(0x7F);
    __m128i const below800 = _mm_set1_epi16(0x7FF);
    __m128i const zero = _mm_setzero_si128();
    while (units - i >= 8) {
        // 16-bit lane counters hold at most 2 per round: flush well before they can overflow.
        __m128i acc = zero;
        std::size_t rounds = 0;
        while (units - i >= 8 && rounds < 8192) {
            __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i));
            if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, surrogateMask), surrogateBits)) != 0) {
                break;
            }
            // Each lane adds -1 when the unit is below 0x80 and -1 when below 0x800.
            acc = _mm_add_epi16(acc, _mm_cmpeq_epi16(_mm_subs_epu16(v, below80), zero));
            acc = _mm_add_epi16(acc, _mm_cmpeq_epi16(_mm_subs_epu16(v, below800), zero));
            i += 8;
            ++rounds;
        }
        alignas(16) std::int16_t lanes[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), acc);
        long saved = 0;
        for (std::int16_t lane : lanes) {
            saved -= lane;
        }
        bytes += rounds * 24 - std::size_t(saved);
        if (units - i >= 8 && rounds < 8192) {
            // A surrogate in the next eight units: take them one by one.
            std::size_t const stop = i + 8;
            while (i < stop) {
                std::uint32_t const u = Load16(src + 2 * i);
                if (u < 0x80) {
                    bytes += 1;
                } else if (u < 0x800) {
                    bytes += 2;
                } else if (u < 0xD800 || u > 0xDFFF) {
                    bytes += 3;
                } else if (u <= 0xDBFF && i + 1 < units && (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
                    bytes += 4;
                    ++i;
                } else if (lossy) {
                    bytes += 1;
                } else {
                    return kInvalid;
                }
                ++i;
            }
        }
    }
#endif
    while (i < units) {
        std::uint32_t const u = Load16(src + 2 * i);
        if (u < 0x80) {
            bytes += 1;
        } else if (u < 0x800) {
            bytes += 2;
        } else if (u < 0xD800 || u > 0xDFFF) {
            bytes += 3;
        } else if (u <= 0xDBFF && i + 1 < units && (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
            bytes += 4;
            ++i;
        } else if (lossy) {
            bytes += 1;
        } else {
            return kInvalid;
        }
        ++i;
    }
    return long(bytes);
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
    while (i < units) {
        std::uint32_t const u = Load16(src + 2 * i);
        if (u < 0x80) {
#if KF_TEXT_SSE2
            __m128i const highBits = _mm_set1_epi16(short(0xFF80));
            __m128i const zero = _mm_setzero_si128();
            while (units - i >= 16 && oend - o >= 16) {
                __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i));
                __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 2 * i + 16));
                // Two mask bits per unit, set where the unit is ASCII. (The pack below saturates as
                // signed values, so it cannot tell ASCII on its own.)
                unsigned const ascii =
                    unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, highBits), zero))) |
                    (unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(b, highBits), zero))) << 16);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(a, b));
                if (ascii != 0xFFFFFFFFu) {
                    int const k = std::countr_zero(~ascii) / 2;
                    i += std::size_t(k);
                    o += k;
                    break;
                }
                i += 16;
                o += 16;
            }
#endif
            while (i < units) {
                std::uint32_t const a = Load16(src + 2 * i);
                if (a >= 0x80) {
                    break;
                }
                if (o == oend) {
                    goto overflow;
                }
                *o++ = std::uint8_t(a);
                ++i;
            }
            continue;
        }
        if (u < 0x800) {
            if (oend - o < 2) {
                goto overflow;
            }
            o[0] = std::uint8_t(0xC0 | (u >> 6));
            o[1] = std::uint8_t(0x80 | (u & 0x3F));
            o += 2;
            ++i;
        } else if (u < 0xD800 || u > 0xDFFF) {
            if (oend - o < 3) {
                goto overflow;
            }
            o[0] = std::uint8_t(0xE0 | (u >> 12));
            o[1] = std::uint8_t(0x80 | ((u >> 6) & 0x3F));
            o[2] = std::uint8_t(0x80 | (u & 0x3F));
            o += 3;
            ++i;
        } else if (u <= 0xDBFF && i + 1 < units && (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
            if (oend - o < 4) {
                goto overflow;
            }
            std::uint32_t const cp = 0x10000 + ((u - 0xD800) << 10) + (Load16(src + 2 * i + 2) - 0xDC00u);
            o[0] = std::uint8_t(0xF0 | (cp >> 18));
            o[1] = std::uint8_t(0x80 | ((cp >> 12) & 0x3F));
            o[2] = std::uint8_t(0x80 | ((cp >> 6) & 0x3F));
            o[3] = std::uint8_t(0x80 | (cp & 0x3F));
            o += 4;
            i += 2;
        } else if (lossy) {
            if (o == oend) {
                goto overflow;
            }
            *o++ = '?';
            ++i;
        } else {
            return kInvalid;
        }
    }
    return long(o - out);
overflow:
    return MeasureUtf16AsUtf8(src + 2 * i, units - i, lossy) < 0 ? kInvalid : kTooSmall;
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

SingleByteTable* BuildTable(Codec codec)
{
    auto* table = new SingleByteTable{};
    table->usable = true;
    for (std::uint16_t const*& page : table->fromUnit) {
        page = UnmappedPage();
    }
    for (std::uint16_t& u : table->toUnit) {
        u = kUnmapped;
    }
    std::vector<char16_t> units;
    for (int b = 0; b < 256; ++b) {
        char const byte = char(b);
        if (!PlatformDecode(codec, &byte, 1, units)) {
            continue;
        }
        if (units.size() != 1 || units[0] == kUnmapped || (units[0] >= 0xD800 && units[0] <= 0xDFFF)) {
            table->usable = false;
            return table;
        }
        table->toUnit[b] = std::uint16_t(units[0]);
    }
    for (int b = 0; b < 128; ++b) {
        // The fast loops copy ASCII through unchanged.
        if (table->toUnit[b] != std::uint16_t(b)) {
            table->usable = false;
            return table;
        }
    }
    // The converter's own answer for every unit that some byte decodes to; every other unit is
    // assumed unmappable (the tests check the whole BMP against the converter).
    std::string bytes;
    for (int b = 0; b < 256; ++b) {
        std::uint16_t const u = table->toUnit[b];
        if (u == kUnmapped) {
            continue;
        }
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
        for (std::size_t i = 0; i < n;) {
            if (src[i] < 0x80) {
                i = std::size_t(SkipAscii(src + i, src + n) - src);
                continue;
            }
            if (table.toUnit[src[i]] == kUnmapped) {
                return kInvalid;
            }
            ++i;
        }
        return long(n * 2);
    }
    if (outCap < n * 2) {
        return SingleByteToUtf16(table, src, n, nullptr, 0) < 0 ? kInvalid : kTooSmall;
    }
    std::size_t i = 0;
#if KF_TEXT_SSE2
    __m128i const zero = _mm_setzero_si128();
#endif
    while (i < n) {
#if KF_TEXT_SSE2
        while (n - i >= 16) {
            __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + i));
            if (_mm_movemask_epi8(v) != 0) {
                break;
            }
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_unpacklo_epi8(v, zero));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 16), _mm_unpackhi_epi8(v, zero));
            i += 16;
        }
#endif
        std::size_t const stop = n - i >= 16 ? i + 16 : n;
        for (; i < stop; ++i) {
            std::uint16_t const u = table.toUnit[src[i]];
            if (u == kUnmapped) {
                return kInvalid;
            }
            Store16(out + 2 * i, u);
        }
    }
    return long(n * 2);
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
