// UTF-8 <-> UTF-16 with SSSE3 byte shuffles, for text that is not plain ASCII (ASCII runs are
// widened or packed 16 at a time by the scalar loops too). The scheme follows Lemire and Keiser's
// transcoding ("Transcoding Billions of Unicode Characters per Second with SIMD Instructions",
// 2021): where characters end decides, through a table, which bytes go to which lane.
#include "KF_TextCodec.hpp"
#include "KF_TextFastSupport.hpp"
#include "KF_TextUtf8Check.hpp"
#include "kfsdk/Utf8.hpp"

#include <array>
#include <bit>
#include <cstring>

namespace kf::detail::text {

#if KF_TEXT_X86_VECTORS

namespace {

// --- UTF-8 -> UTF-16 ------------------------------------------------------------------------------

// How a window of 12 bytes is converted, by the bits that mark the last byte of each character:
// six characters of one or two bytes into 16-bit lanes, or up to four of one to three bytes into
// 32-bit lanes. Both are computed, and the table's choice kept: in mixed text a branch on it would
// be mispredicted half the time. A four-byte character first (or an ill-formed window) is taken on
// its own.
struct Step {
    std::uint8_t sixRow;   // shuffle row for six short characters
    std::uint8_t fourRow;  // shuffle row for up to four BMP characters
    std::uint8_t six;      // 1: keep the six short characters, 0: the BMP ones
    std::uint8_t consumed; // bytes of the characters converted; 0: one character on its own
    std::uint8_t written;  // bytes of UTF-16 they give
    std::uint8_t unused[3];
};

// Rows: characters of one to three bytes, one to four of them (base-3 digits, offset by count),
// then six characters of one or two bytes (one bit each).
constexpr int kFourOffsets[5] = {0, 0, 3, 12, 39};
constexpr int kSixRowsStart = 120;
constexpr int kRows = kSixRowsStart + 64;

struct DecodeTables {
    std::array<Step, 4096> steps{};
    std::array<std::array<std::uint8_t, 16>, kRows> shuffles{};
    std::array<std::array<std::uint8_t, 16>, 2> keepSix{}; // by Step::six: which result is kept
};

constexpr std::uint8_t kZeroLane = 0x80; // a shuffle index that writes a zero byte

constexpr DecodeTables MakeDecodeTables()
{
    DecodeTables t{};
    for (auto& row : t.shuffles) {
        for (auto& b : row) {
            b = kZeroLane;
        }
    }
    for (auto& b : t.keepSix[1]) {
        b = 0xFF;
    }
    // Up to four BMP characters: lane k holds the last byte of character k, the one before it and
    // the third from last.
    for (int count = 1; count <= 4; ++count) {
        int rows = 1;
        for (int k = 0; k < count; ++k) {
            rows *= 3;
        }
        for (int digits = 0; digits < rows; ++digits) {
            auto& shuffle = t.shuffles[std::size_t(kFourOffsets[count] + digits)];
            int pos = 0;
            for (int k = 0, rest = digits; k < count; ++k, rest /= 3) {
                const int length = 1 + rest % 3;
                shuffle[std::size_t(4 * k)] = std::uint8_t(pos + length - 1);
                shuffle[std::size_t(4 * k + 1)] = length >= 2 ? std::uint8_t(pos + length - 2) : kZeroLane;
                shuffle[std::size_t(4 * k + 2)] = length == 3 ? std::uint8_t(pos) : kZeroLane;
                pos += length;
            }
        }
    }
    // Six short characters: lane k holds the last byte of character k low, the lead of a two-byte
    // character high.
    for (int bits = 0; bits < 64; ++bits) {
        auto& shuffle = t.shuffles[std::size_t(kSixRowsStart + bits)];
        int pos = 0;
        for (int k = 0; k < 6; ++k) {
            const int length = 1 + ((bits >> k) & 1);
            shuffle[std::size_t(2 * k)] = std::uint8_t(pos + length - 1);
            shuffle[std::size_t(2 * k + 1)] = length == 2 ? std::uint8_t(pos) : kZeroLane;
            pos += length;
        }
    }
    for (int ends = 0; ends < 4096; ++ends) {
        int lengths[12] = {};
        int count = 0;
        int start = 0;
        for (int b = 0; b < 12; ++b) {
            if ((ends >> b) & 1) {
                lengths[count++] = b - start + 1;
                start = b + 1;
            }
        }
        int shortOnes = 0;
        while (shortOnes < count && shortOnes < 6 && lengths[shortOnes] <= 2) {
            ++shortOnes;
        }
        int bmpOnes = 0;
        while (bmpOnes < count && bmpOnes < 4 && lengths[bmpOnes] <= 3) {
            ++bmpOnes;
        }
        Step& step = t.steps[std::size_t(ends)];
        step.fourRow = std::uint8_t(kFourOffsets[1]);
        step.sixRow = std::uint8_t(kSixRowsStart);
        if (shortOnes == 6) {
            int bits = 0;
            int consumed = 0;
            for (int k = 0; k < 6; ++k) {
                bits |= (lengths[k] - 1) << k;
                consumed += lengths[k];
            }
            step.sixRow = std::uint8_t(kSixRowsStart + bits);
            step.six = 1;
            step.consumed = std::uint8_t(consumed);
            step.written = 12;
        } else if (bmpOnes > 0) {
            int digits = 0;
            int consumed = 0;
            for (int k = bmpOnes - 1; k >= 0; --k) {
                digits = digits * 3 + (lengths[k] - 1);
                consumed += lengths[k];
            }
            step.fourRow = std::uint8_t(kFourOffsets[bmpOnes] + digits);
            step.consumed = std::uint8_t(consumed);
            step.written = std::uint8_t(2 * bmpOnes);
        }
    }
    return t;
}

constexpr DecodeTables kDecode = MakeDecodeTables();
static_assert(sizeof(Step) == sizeof(std::uint64_t));

// Converts the characters at p that end within its next 12 (or 16) bytes, as ends tells; returns
// the bytes used, 0 when one character must be taken on its own.
__attribute__((target("ssse3,popcnt"))) inline std::size_t DecodeWindow(const std::uint8_t* p, std::uint64_t ends,
                                                                        std::uint8_t*& o)
{
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if ((ends & 0xFFFF) == 0xFFFF) {
        // Sixteen characters of one byte each: ASCII.
        const __m128i zero = _mm_setzero_si128();
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_unpacklo_epi8(in, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm_unpackhi_epi8(in, zero));
        o += 32;
        return 16;
    }
    // One load for the whole entry, taken apart in registers.
    std::uint64_t step = 0;
    std::memcpy(&step, &kDecode.steps[ends & 0xFFF], sizeof step);
    const unsigned sixRow = unsigned(step & 0xFF);
    const unsigned fourRow = unsigned((step >> 8) & 0xFF);
    const unsigned six = unsigned((step >> 16) & 0xFF);
    const unsigned consumed = unsigned((step >> 24) & 0xFF);
    const unsigned written = unsigned((step >> 32) & 0xFF);
    const auto* rows = kDecode.shuffles.data();
    // Six short: (lead & 0x1F) << 6 | (last & 0x3F); an ASCII character has a zero lead, 7 bits.
    const __m128i sixLanes =
        _mm_shuffle_epi8(in, _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[sixRow].data())));
    const __m128i sixUnits = _mm_or_si128(_mm_and_si128(sixLanes, _mm_set1_epi16(0x7F)),
                                          _mm_srli_epi16(_mm_and_si128(sixLanes, _mm_set1_epi16(0x1F00)), 2));
    // BMP: (first & 0x0F) << 12 | (middle & 0x3F) << 6 | (last & 0x3F), then the low halves packed.
    const __m128i fourLanes =
        _mm_shuffle_epi8(in, _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[fourRow].data())));
    const __m128i wide =
        _mm_or_si128(_mm_and_si128(fourLanes, _mm_set1_epi32(0x7F)),
                     _mm_or_si128(_mm_srli_epi32(_mm_and_si128(fourLanes, _mm_set1_epi32(0x3F00)), 2),
                                  _mm_srli_epi32(_mm_and_si128(fourLanes, _mm_set1_epi32(0x0F0000)), 4)));
    const __m128i four =
        _mm_shuffle_epi8(wide, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1));
    const __m128i keepSix = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kDecode.keepSix[six].data()));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o),
                     _mm_or_si128(_mm_and_si128(keepSix, sixUnits), _mm_andnot_si128(keepSix, four)));
    o += written;
    return consumed;
}

// Writes one checked character at p (any length) and moves past it.
__attribute__((target("ssse3,popcnt"))) inline bool DecodeOne(const std::uint8_t*& p, std::uint8_t*& o,
                                                              const std::uint8_t* end)
{
    char32_t cp = 0;
    int bad = 0;
    const int used = kfsdk::DecodeUTF8One(p, end, cp, bad);
    if (used == 0) {
        return false;
    }
    if (cp >= 0x10000) {
        cp -= 0x10000;
        Store16(o, 0xD800 + (cp >> 10));
        Store16(o + 2, 0xDC00 + (cp & 0x3FF));
        o += 4;
    } else {
        Store16(o, cp);
        o += 2;
    }
    p += used;
    return true;
}

// Widens the ASCII at p, 16 bytes at a time, up to the next byte above 0x7F or the end of the
// block; high marks those bytes in the block, whose byte `at` p is.
__attribute__((target("ssse3,popcnt"))) inline unsigned WidenAscii(const std::uint8_t*& p, std::uint64_t high,
                                                                   unsigned at, std::uint8_t*& o)
{
    const __m128i zero = _mm_setzero_si128();
    const unsigned rest = 64 - at;
    const unsigned ascii = unsigned(std::countr_zero(high >> at));
    const unsigned run = ascii < rest ? ascii : rest;
    for (unsigned k = 0; k < run; k += 16) {
        const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + k));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 2 * k), _mm_unpacklo_epi8(in, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 2 * k + 16), _mm_unpackhi_epi8(in, zero));
    }
    p += run;
    o += 2 * run;
    return run;
}

// Converts the characters that start in the first 52 bytes of a checked block of 64 at p; high
// marks the bytes above 0x7F there, ends the last byte of each character. The ASCII that opens the
// block is widened at once; a block with a few characters beyond ASCII in mostly ASCII text is
// taken character by character between its runs of ASCII. Returns false for a character that is
// no character (not reached).
__attribute__((target("ssse3,popcnt"))) inline bool
DecodeWindows(const std::uint8_t*& p, std::uint64_t high, std::uint64_t ends, std::uint8_t*& o, const std::uint8_t* end)
{
    const std::uint8_t* const block = p;
    const std::uint8_t* const stop = p + 52;
    if (std::popcount(high) <= 4) {
        while (p < stop) {
            WidenAscii(p, high, unsigned(p - block), o);
            if (p < stop && !DecodeOne(p, o, end)) {
                return false;
            }
        }
        return true;
    }
    ends >>= WidenAscii(p, high, 0, o);
    while (p < stop) {
        const std::uint8_t* const at = p;
        const std::size_t used = DecodeWindow(p, ends, o);
        if (used == 0 && !DecodeOne(p, o, end)) {
            return false; // a four-byte character first, or none
        }
        p = used == 0 ? p : p + used;
        ends >>= (p - at);
    }
    return true;
}

// The block loop: 64 bytes are checked at once, then the windows convert what starts in the first
// 52 of them. The next block starts behind the last converted character, so a character cut by
// the block's end is checked and converted whole with the next.
//
// Room: a block converts at most 63 bytes into as many units, and the last store of a window
// writes up to 32 bytes from where it starts; the input must hold 16 bytes behind the last start.
constexpr std::ptrdiff_t kDecodeInputRoom = 80;
constexpr std::ptrdiff_t kDecodeOutputRoom = 2 * 80 + 32;

__attribute__((target("ssse3,popcnt"))) long Utf8ToUtf16Ssse3(const std::uint8_t*& src, const std::uint8_t* end,
                                                              std::uint8_t*& out, const std::uint8_t* outEnd)
{
    using namespace utf8check;
    const Tables16 tables = LoadTables16();
    const __m128i zero = _mm_setzero_si128();
    const __m128i notContinuation = _mm_set1_epi8(-65);
    const std::uint8_t* p = src;
    std::uint8_t* o = out;
    while (end - p >= kDecodeInputRoom && outEnd - o >= kDecodeOutputRoom) {
        __m128i c[4];
        for (int k = 0; k < 4; ++k) {
            c[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
        }
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(c[0], c[1]), _mm_or_si128(c[2], c[3]))) == 0) {
            for (int k = 0; k < 4; ++k) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 32 * k), _mm_unpacklo_epi8(c[k], zero));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 32 * k + 16), _mm_unpackhi_epi8(c[k], zero));
            }
            p += 64;
            o += 128;
            continue;
        }
        const __m128i errors =
            _mm_or_si128(_mm_or_si128(BlockErrors16(tables, c[0], zero), BlockErrors16(tables, c[1], c[0])),
                         _mm_or_si128(BlockErrors16(tables, c[2], c[1]), BlockErrors16(tables, c[3], c[2])));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(errors, zero)) != 0xFFFF) {
            return kInvalid;
        }
        // Bit i: byte i + 1 starts a character, so byte i ends one (unknown for the last byte).
        std::uint64_t starts = 0;
        std::uint64_t high = 0;
        for (int k = 0; k < 4; ++k) {
            starts |= std::uint64_t(unsigned(_mm_movemask_epi8(_mm_cmpgt_epi8(c[k], notContinuation)))) << (16 * k);
            high |= std::uint64_t(unsigned(_mm_movemask_epi8(c[k]))) << (16 * k);
        }
        if (!DecodeWindows(p, high, starts >> 1, o, end)) {
            return kInvalid;
        }
    }
    src = p;
    out = o;
    return 0;
}

__attribute__((target("avx2,popcnt"))) long Utf8ToUtf16Avx2(const std::uint8_t*& src, const std::uint8_t* end,
                                                            std::uint8_t*& out, const std::uint8_t* outEnd)
{
    using namespace utf8check;
    const Tables32 tables = LoadTables32();
    const __m256i zero = _mm256_setzero_si256();
    const __m256i notContinuation = _mm256_set1_epi8(-65);
    const std::uint8_t* p = src;
    std::uint8_t* o = out;
    while (end - p >= kDecodeInputRoom && outEnd - o >= kDecodeOutputRoom) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32));
        if (_mm256_movemask_epi8(_mm256_or_si256(a, b)) == 0) {
            for (int k = 0; k < 4; ++k) {
                const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32 * k), _mm256_cvtepu8_epi16(bytes));
            }
            p += 64;
            o += 128;
            continue;
        }
        const __m256i errors = _mm256_or_si256(BlockErrors32(tables, a, zero), BlockErrors32(tables, b, a));
        if (!_mm256_testz_si256(errors, errors)) {
            return kInvalid;
        }
        const std::uint64_t starts =
            std::uint64_t(unsigned(_mm256_movemask_epi8(_mm256_cmpgt_epi8(a, notContinuation)))) |
            (std::uint64_t(unsigned(_mm256_movemask_epi8(_mm256_cmpgt_epi8(b, notContinuation)))) << 32);
        const std::uint64_t high =
            std::uint64_t(unsigned(_mm256_movemask_epi8(a))) | (std::uint64_t(unsigned(_mm256_movemask_epi8(b))) << 32);
        if (!DecodeWindows(p, high, starts >> 1, o, end)) {
            return kInvalid;
        }
    }
    src = p;
    out = o;
    return 0;
}

// --- UTF-16 -> UTF-8 ------------------------------------------------------------------------------

// Packing four characters of one to three bytes, each spread over a 32-bit lane, by which of them
// need two bytes or more (low four bits of the row) and three (high four bits).
struct Packing {
    std::array<std::array<std::uint8_t, 16>, 256> shuffles{};
    std::array<std::uint8_t, 256> lengths{};
};

constexpr Packing MakePacking()
{
    Packing t{};
    for (int row = 0; row < 256; ++row) {
        int out = 0;
        for (int k = 0; k < 4; ++k) {
            const int length = 1 + ((row >> k) & 1) + ((row >> (4 + k)) & 1);
            for (int b = 0; b < length; ++b) {
                t.shuffles[std::size_t(row)][std::size_t(out++)] = std::uint8_t(4 * k + b);
            }
        }
        for (int rest = out; rest < 16; ++rest) {
            t.shuffles[std::size_t(row)][std::size_t(rest)] = kZeroLane;
        }
        t.lengths[std::size_t(row)] = std::uint8_t(out);
    }
    return t;
}

constexpr Packing kPacking = MakePacking();

// Writes the surrogate at i, which has a unit behind it: with its partner as one character, alone
// as "?" when lossy. False when it stands alone and may not be replaced.
inline bool PutSurrogate(const std::uint8_t* src, std::size_t& i, std::uint8_t*& o, bool lossy)
{
    const std::uint32_t unit = Load16(src + 2 * i);
    const std::uint32_t next = Load16(src + 2 * i + 2);
    if (unit <= 0xDBFF && (next & 0xFC00) == 0xDC00) {
        o += kfsdk::EncodeUTF8One(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), reinterpret_cast<char*>(o));
        i += 2;
        return true;
    }
    *o++ = '?';
    ++i;
    return lossy;
}

// Eight units as UTF-8, each taken for a character of the BMP; writes 16 bytes twice and moves o
// past the first `keep` characters (those before a surrogate).
__attribute__((target("ssse3,popcnt"))) inline void EncodeEight(__m128i u, std::uint8_t*& o, unsigned keep)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(u, _mm_set1_epi16(short(0xFF80))), zero);
    const __m128i below800 = _mm_cmpeq_epi16(_mm_and_si128(u, _mm_set1_epi16(short(0xF800))), zero);
    const __m128i contMark = _mm_set1_epi16(0x80);
    const __m128i sixBits = _mm_set1_epi16(0x3F);
    const __m128i lastByte = _mm_or_si128(_mm_and_si128(u, sixBits), contMark);
    const __m128i middle = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(u, 6), sixBits), contMark);
    const __m128i lead3 = _mm_or_si128(_mm_srli_epi16(u, 12), _mm_set1_epi16(0xE0));
    const __m128i lead2 = _mm_or_si128(_mm_srli_epi16(u, 6), _mm_set1_epi16(0xC0));
    // first: the unit itself, the lead of two bytes or the lead of three; second: the last byte of
    // two or the middle of three; third: the last byte of three.
    const __m128i notAsciiLead = _mm_or_si128(_mm_and_si128(below800, lead2), _mm_andnot_si128(below800, lead3));
    const __m128i first = _mm_or_si128(_mm_and_si128(ascii, u), _mm_andnot_si128(ascii, notAsciiLead));
    const __m128i second = _mm_or_si128(_mm_and_si128(below800, lastByte), _mm_andnot_si128(below800, middle));
    const __m128i firstTwo = _mm_or_si128(first, _mm_slli_epi16(second, 8));
    const __m128i low4 = _mm_unpacklo_epi16(firstTwo, lastByte);
    const __m128i high4 = _mm_unpackhi_epi16(firstTwo, lastByte);
    // Bits 0-7: which units need two bytes or more; 8-15: which need three.
    const __m128i ones = _mm_set1_epi16(-1);
    const unsigned kinds =
        unsigned(_mm_movemask_epi8(_mm_packs_epi16(_mm_xor_si128(ascii, ones), _mm_xor_si128(below800, ones))));
    const unsigned rowLow = (kinds & 0x0F) | ((kinds >> 4) & 0xF0);
    const unsigned rowHigh = ((kinds >> 4) & 0x0F) | ((kinds >> 8) & 0xF0);
    const auto* shuffles = kPacking.shuffles.data();
    std::uint8_t* const start = o;
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(o),
        _mm_shuffle_epi8(low4, _mm_loadu_si128(reinterpret_cast<const __m128i*>(shuffles[rowLow].data()))));
    o += kPacking.lengths[rowLow];
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(o),
        _mm_shuffle_epi8(high4, _mm_loadu_si128(reinterpret_cast<const __m128i*>(shuffles[rowHigh].data()))));
    o += kPacking.lengths[rowHigh];
    if (keep < 8) {
        const unsigned kept = (1u << keep) - 1;
        o = start + keep + unsigned(std::popcount(kinds & kept)) + unsigned(std::popcount((kinds >> 8) & kept));
    }
}

__attribute__((target("ssse3,popcnt"))) long Utf16ToUtf8Ssse3(const std::uint8_t* src, std::size_t& i,
                                                              std::size_t units, std::uint8_t*& out,
                                                              const std::uint8_t* outEnd, bool lossy)
{
    std::uint8_t* o = out;
    const __m128i zero = _mm_setzero_si128();
    const __m128i highBits = _mm_set1_epi16(short(0xFF80));
    const __m128i kindMask = _mm_set1_epi16(short(0xF800));
    const __m128i surrogates = _mm_set1_epi16(short(0xD800));
    // Room: eight units are at most 24 bytes and the second store ends 16 bytes behind the first
    // four characters (at most 12 bytes); ASCII writes 16.
    while (units - i >= 16 && outEnd - o >= 32) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i + 16));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(_mm_or_si128(a, b), highBits), zero)) == 0xFFFF) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(a, b));
            i += 16;
            o += 16;
            continue;
        }
        const unsigned found = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, kindMask), surrogates)));
        const unsigned keep = found == 0 ? 8 : unsigned(std::countr_zero(found)) / 2;
        EncodeEight(a, o, keep);
        i += keep;
        if (keep == 8) {
            continue;
        }
        if (!PutSurrogate(src, i, o, lossy)) {
            return kInvalid;
        }
    }
    out = o;
    return 0;
}

// --- UTF-16 with AVX2: sixteen units a register ----------------------------------------------------

// Sixteen units as UTF-8, each taken for a character of the BMP, as EncodeEight does for eight: the
// registers hold units 0-3 and 8-11 in one, 4-7 and 12-15 in the other, lane by lane.
__attribute__((target("avx2,popcnt"))) inline void EncodeSixteen(__m256i u, std::uint8_t*& o, unsigned keep)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i ascii = _mm256_cmpeq_epi16(_mm256_and_si256(u, _mm256_set1_epi16(short(0xFF80))), zero);
    const __m256i below800 = _mm256_cmpeq_epi16(_mm256_and_si256(u, _mm256_set1_epi16(short(0xF800))), zero);
    const __m256i contMark = _mm256_set1_epi16(0x80);
    const __m256i sixBits = _mm256_set1_epi16(0x3F);
    const __m256i lastByte = _mm256_or_si256(_mm256_and_si256(u, sixBits), contMark);
    const __m256i middle = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(u, 6), sixBits), contMark);
    const __m256i lead3 = _mm256_or_si256(_mm256_srli_epi16(u, 12), _mm256_set1_epi16(0xE0));
    const __m256i lead2 = _mm256_or_si256(_mm256_srli_epi16(u, 6), _mm256_set1_epi16(0xC0));
    const __m256i notAsciiLead = _mm256_blendv_epi8(lead3, lead2, below800);
    const __m256i first = _mm256_blendv_epi8(notAsciiLead, u, ascii);
    const __m256i second = _mm256_blendv_epi8(middle, lastByte, below800);
    const __m256i firstTwo = _mm256_or_si256(first, _mm256_slli_epi16(second, 8));
    const __m256i lowQuads = _mm256_unpacklo_epi16(firstTwo, lastByte);
    const __m256i highQuads = _mm256_unpackhi_epi16(firstTwo, lastByte);
    // Bits 0-7 and 16-23: units 0-7 and 8-15 need two bytes or more; 8-15 and 24-31: three.
    const __m256i ones = _mm256_set1_epi16(-1);
    const unsigned kinds = unsigned(
        _mm256_movemask_epi8(_mm256_packs_epi16(_mm256_xor_si256(ascii, ones), _mm256_xor_si256(below800, ones))));
    const unsigned rows[4] = {(kinds & 0x0F) | ((kinds >> 4) & 0xF0), ((kinds >> 4) & 0x0F) | ((kinds >> 8) & 0xF0),
                              ((kinds >> 16) & 0x0F) | ((kinds >> 20) & 0xF0),
                              ((kinds >> 20) & 0x0F) | ((kinds >> 24) & 0xF0)};
    auto row = [](unsigned r) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(kPacking.shuffles[r].data()));
    };
    const __m256i packedLow = _mm256_shuffle_epi8(lowQuads, _mm256_setr_m128i(row(rows[0]), row(rows[2])));
    const __m256i packedHigh = _mm256_shuffle_epi8(highQuads, _mm256_setr_m128i(row(rows[1]), row(rows[3])));
    std::uint8_t* const start = o;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm256_castsi256_si128(packedLow));
    o += kPacking.lengths[rows[0]];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm256_castsi256_si128(packedHigh));
    o += kPacking.lengths[rows[1]];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm256_extracti128_si256(packedLow, 1));
    o += kPacking.lengths[rows[2]];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm256_extracti128_si256(packedHigh, 1));
    o += kPacking.lengths[rows[3]];
    if (keep < 16) {
        const unsigned low = keep < 8 ? (1u << keep) - 1 : 0xFFu;
        const unsigned high = keep > 8 ? (1u << (keep - 8)) - 1 : 0u;
        const unsigned kept = low | (low << 8) | (high << 16) | (high << 24);
        o = start + keep + unsigned(std::popcount(kinds & kept));
    }
}

__attribute__((target("avx2,popcnt"))) long Utf16ToUtf8Avx2(const std::uint8_t* src, std::size_t& i, std::size_t units,
                                                            std::uint8_t*& out, const std::uint8_t* outEnd, bool lossy)
{
    std::uint8_t* o = out;
    const __m256i highBits = _mm256_set1_epi16(short(0xFF80));
    const __m256i kindMask = _mm256_set1_epi16(short(0xF800));
    const __m256i surrogates = _mm256_set1_epi16(short(0xD800));
    // Room: sixteen units are at most 48 bytes and the last store ends 16 bytes behind the last
    // four characters; a pair writes 4 more; ASCII writes 32.
    while (units - i >= 32 && outEnd - o >= 3 * 16 + 16 + 4) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 2 * i));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 2 * i + 32));
        if (_mm256_testz_si256(_mm256_or_si256(a, b), highBits)) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o),
                                _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8));
            i += 32;
            o += 32;
            continue;
        }
        const unsigned found =
            unsigned(_mm256_movemask_epi8(_mm256_cmpeq_epi16(_mm256_and_si256(a, kindMask), surrogates)));
        const unsigned keep = found == 0 ? 16 : unsigned(std::countr_zero(found)) / 2;
        EncodeSixteen(a, o, keep);
        i += keep;
        if (keep == 16) {
            continue;
        }
        if (!PutSurrogate(src, i, o, lossy)) {
            return kInvalid;
        }
    }
    out = o;
    return 0;
}

// Bytes of UTF-8 for the units from i on, sixteen at a time, while every surrogate is half of a
// pair; stops at a block with one that is not (for the caller to count) or near the end.
__attribute__((target("avx2,popcnt"))) std::size_t MeasureUtf16Avx2(const std::uint8_t* src, std::size_t& i,
                                                                    std::size_t units)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i kindMask = _mm256_set1_epi16(short(0xF800));
    const __m256i surrogates = _mm256_set1_epi16(short(0xD800));
    const __m256i halfMask = _mm256_set1_epi16(short(0xFC00));
    const __m256i highHalves = _mm256_set1_epi16(short(0xD800));
    const __m256i lowHalves = _mm256_set1_epi16(short(0xDC00));
    const __m256i firstFifteen = _mm256_setr_epi16(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0);
    std::size_t bytes = 0;
    bool stopped = false;
    while (!stopped && units - i >= 16) {
        // Every unit counts three bytes; a lane adds -1 for a unit below 0x80, -1 below 0x800 and -1
        // for a surrogate (four bytes a pair). At most -2 a round: flushed long before overflow.
        __m256i acc = zero;
        std::size_t counted = 0;
        for (int round = 0; round < 8192 && units - i >= 16; ++round) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 2 * i));
            const __m256i kind = _mm256_and_si256(v, kindMask);
            const __m256i small =
                _mm256_add_epi16(_mm256_cmpeq_epi16(_mm256_and_si256(v, _mm256_set1_epi16(short(0xFF80))), zero),
                                 _mm256_cmpeq_epi16(kind, zero));
            const __m256i surrogate = _mm256_cmpeq_epi16(kind, surrogates);
            if (_mm256_testz_si256(surrogate, surrogate)) {
                acc = _mm256_add_epi16(acc, small);
                counted += 16;
                i += 16;
                continue;
            }
            const __m256i half = _mm256_and_si256(v, halfMask);
            unsigned highs = unsigned(_mm256_movemask_epi8(_mm256_cmpeq_epi16(half, highHalves)));
            unsigned lows = unsigned(_mm256_movemask_epi8(_mm256_cmpeq_epi16(half, lowHalves)));
            // A high surrogate in the last lane pairs with the next block: left for that one.
            std::size_t take = 16;
            __m256i keep = _mm256_set1_epi16(-1);
            if ((highs & 0xC0000000u) != 0) {
                take = 15;
                keep = firstFifteen;
                highs &= 0x3FFFFFFFu;
                lows &= 0x3FFFFFFFu;
            }
            if ((highs << 2) != lows) {
                stopped = true;
                break;
            }
            acc = _mm256_add_epi16(acc, _mm256_and_si256(_mm256_add_epi16(small, surrogate), keep));
            counted += take;
            i += take;
        }
        const __m256i sums = _mm256_madd_epi16(acc, _mm256_set1_epi16(1));
        alignas(32) std::int32_t lanes[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), sums);
        long saved = 0;
        for (std::int32_t lane : lanes) {
            saved -= lane;
        }
        bytes += 3 * counted - std::size_t(saved);
    }
    return bytes;
}

} // namespace

long Utf8ToUtf16Vector(const std::uint8_t*& src, const std::uint8_t* end, std::uint8_t*& out,
                       const std::uint8_t* outEnd)
{
    switch (VectorLevelInUse()) {
    case VectorLevel::AVX2:
        return Utf8ToUtf16Avx2(src, end, out, outEnd);
    case VectorLevel::SSSE3:
        return Utf8ToUtf16Ssse3(src, end, out, outEnd);
    case VectorLevel::None:
        break;
    }
    return 0;
}

long Utf16ToUtf8Vector(const std::uint8_t* src, std::size_t& i, std::size_t units, std::uint8_t*& out,
                       const std::uint8_t* outEnd, bool lossy)
{
    switch (VectorLevelInUse()) {
    case VectorLevel::AVX2:
        return Utf16ToUtf8Avx2(src, i, units, out, outEnd, lossy);
    case VectorLevel::SSSE3:
        return Utf16ToUtf8Ssse3(src, i, units, out, outEnd, lossy);
    case VectorLevel::None:
        break;
    }
    return 0;
}

long MeasureUtf16Vector(const std::uint8_t* src, std::size_t& i, std::size_t units)
{
    return VectorLevelInUse() == VectorLevel::AVX2 ? long(MeasureUtf16Avx2(src, i, units)) : kNoVector;
}

#else

long Utf8ToUtf16Vector(const std::uint8_t*& /*src*/, const std::uint8_t* /*end*/, std::uint8_t*& /*out*/,
                       const std::uint8_t* /*outEnd*/)
{
    return 0;
}

long Utf16ToUtf8Vector(const std::uint8_t* /*src*/, std::size_t& /*i*/, std::size_t /*units*/, std::uint8_t*& /*out*/,
                       const std::uint8_t* /*outEnd*/, bool /*lossy*/)
{
    return 0;
}

long MeasureUtf16Vector(const std::uint8_t* /*src*/, std::size_t& /*i*/, std::size_t /*units*/)
{
    return kNoVector;
}

#endif

} // namespace kf::detail::text
