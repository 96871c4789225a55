// Hand-written conversion between UTF-16 and the single-byte encodings, with tables derived once
// from the platform converters (and checked against them over the whole BMP by the tests).
#include "KF_TextCodec.hpp"
#include "KF_TextFastSupport.hpp"

#include <bit>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace kf::detail::text {

namespace {

constexpr std::uint16_t kUnmapped = 0xFFFF;

// Shared by every high byte that no character of an encoding uses, so that lookups need no test.
const std::uint16_t* UnmappedPage()
{
    static const std::uint16_t* const page = [] {
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
    table->allValid = true;
    for (const std::uint16_t*& page : table->fromUnit) {
        page = UnmappedPage();
    }
    std::vector<char16_t> units;
    int fixFirst = 256;
    int fixLast = -1;
    for (int b = 0; b < 256; ++b) {
        const char byte = char(b);
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
        const char16_t unit = char16_t(u);
        if (!PlatformEncode(codec, &unit, 1, false, bytes) || bytes.size() != 1) {
            continue;
        }
        const std::uint16_t*& page = table->fromUnit[u >> 8];
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

const SingleByteTable* TableFor(Codec codec)
{
    // Built on first use and kept for the life of the process (static destructors may still
    // convert text).
    static SingleByteTable* tables[4] = {};
    static std::once_flag once[4];
    int slot = 0;
    switch (codec) {
    case Codec::ASCII:
        slot = 0;
        break;
    case Codec::MacRoman:
        slot = 1;
        break;
    case Codec::WinLatin1:
        slot = 2;
        break;
    case Codec::ISOLatin1:
        slot = 3;
        break;
    default:
        return nullptr;
    }
    std::call_once(once[slot], [&] { tables[slot] = BuildTable(codec); });
    return tables[slot]->usable ? tables[slot] : nullptr;
}

long SingleByteToUtf16(const SingleByteTable& table, const std::uint8_t* src, std::size_t n, std::uint8_t* out,
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
    std::uint32_t seen = 0; // collects kNoCharacter
    std::size_t i = 0;
#if KF_TEXT_SSE2
    const __m128i zero = _mm_setzero_si128();
    const __m128i first = _mm_set1_epi8(char(table.fixFirst));
    const __m128i span = _mm_set1_epi8(char(table.fixLast - table.fixFirst));
    const bool anyFix = table.fixFirst <= table.fixLast;
    for (; n - i >= 16; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
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
        const __m128i offset = _mm_sub_epi8(v, first);
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

namespace {

// Surrogate pairs among the units: with "?" for whatever cannot be held, every unit becomes one
// byte except the second half of a pair.
std::size_t CountSurrogatePairs(const std::uint8_t* src, std::size_t units)
{
    std::size_t pairs = 0;
    std::size_t i = 0;
#if KF_TEXT_SSE2
    const __m128i kindMask = _mm_set1_epi16(short(0xFC00));
    const __m128i highBits = _mm_set1_epi16(short(0xD800));
    while (units - i >= 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, kindMask), highBits)) == 0) {
            i += 8;
            continue;
        }
        // A high surrogate in these eight units: count them one by one (a pair may reach into the
        // next block, which then starts behind it).
        std::size_t const stop = i + 8;
        while (i < stop) {
            if ((Load16(src + 2 * i) & 0xFC00) == 0xD800 && i + 1 < units &&
                (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
                ++pairs;
                i += 2;
            } else {
                ++i;
            }
        }
    }
#endif
    while (i < units) {
        if ((Load16(src + 2 * i) & 0xFC00) == 0xD800 && i + 1 < units && (Load16(src + 2 * i + 2) & 0xFC00) == 0xDC00) {
            ++pairs;
            i += 2;
        } else {
            ++i;
        }
    }
    return pairs;
}

} // namespace

long Utf16ToSingleByte(const SingleByteTable& table, const std::uint8_t* src, std::size_t units, std::uint8_t* out,
                       std::size_t outCap, bool lossy)
{
    if (out == nullptr && lossy) {
        return long(units - CountSurrogatePairs(src, units));
    }
    std::size_t written = 0;
    std::size_t i = 0;
    bool overflowed = false;
    while (i < units) {
#if KF_TEXT_SSE2
        const __m128i highBits = _mm_set1_epi16(short(0xFF80));
        const __m128i zero = _mm_setzero_si128();
        while (units - i >= 16) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i + 16));
            const unsigned ascii =
                unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, highBits), zero))) |
                (unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(b, highBits), zero))) << 16);
            if (ascii != 0xFFFFFFFFu) {
                // Packed as if ASCII, then the other units looked up where they stand; one that the
                // encoding cannot hold leaves the block to the loop below.
                if (out == nullptr || overflowed || outCap - written < 16) {
                    break;
                }
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), _mm_packus_epi16(a, b));
                unsigned others = ~ascii & 0x55555555u;
                while (others != 0) {
                    std::size_t const k = std::size_t(std::countr_zero(others)) / 2;
                    std::uint32_t const u = Load16(src + 2 * (i + k));
                    std::uint32_t const byte = table.fromUnit[u >> 8][u & 0xFF];
                    if (byte == kUnmapped) {
                        break;
                    }
                    out[written + k] = std::uint8_t(byte);
                    others &= others - 1;
                }
                if (others != 0) {
                    break;
                }
                written += 16;
                i += 16;
                continue;
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

} // namespace kf::detail::text
