// Internal to the text area: the conversion pipeline under KF_String::ConvertChangeEncoding.
//
// Every conversion decodes the source to UTF-16 and encodes that into the target. UTF-16 and
// UTF-32 are handled here by hand; the other encodings go through the platform converters (the
// "general path"). UTF-8 and the single-byte encodings also have hand-written fast paths that must
// give results, codes and lengths identical to the general path; tests and fuzz targets switch the
// fast paths off to compare.
#pragma once

#include "KF/KF_String.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kf::detail::text {

enum class Codec { UTF7, UTF8, UTF16LE, UTF16BE, UTF32LE, UTF32BE, ASCII, MacRoman, WinLatin1, ISOLatin1 };

// enc must be 2 or more; Enc_System (and any unknown value) follows the application's setting.
Codec Resolve(KF_String::Encoding enc);
// Bytes per code unit of the source form: 2 for UTF-16, 4 for UTF-32, 1 otherwise.
int UnitSize(Codec codec);
bool IsSingleByte(Codec codec);
// True where the bytes 00-7F are exactly ASCII (all encodings but UTF-7 and the wide ones).
bool IsAsciiCompatible(Codec codec);

// --- general path: the platform converters (KF_TextConverters.cpp) ---------------------------
// Decoding stops at the first ill-formed or unmapped byte sequence (false). Encoding writes "?" for
// every character that the target cannot hold when lossy is set, else fails.
bool PlatformDecode(Codec codec, const char* src, std::size_t bytes, std::vector<char16_t>& out);
bool PlatformEncode(Codec codec, const char16_t* units, std::size_t count, bool lossy, std::string& out);

// --- fast paths (switches: KF_TextFastPaths.cpp; codecs: KF_TextUtf8.cpp, KF_TextSingleByte.cpp) --
bool FastPathsEnabled();
void SetFastPathsEnabled(bool enabled); // for tests, fuzz targets and benchmarks

// Codes shared by the fast routines: a non-negative byte or unit count, or these.
constexpr long kInvalid = -1;  // ill-formed source, or a character the target cannot hold
constexpr long kTooSmall = -2; // the whole source is valid but does not fit

// SingleByteTable::toUnit of a byte that is no character of the encoding.
constexpr std::uint32_t kNoCharacter = 0x10000;

// A decoding table of a single-byte encoding, derived once from the platform converter.
struct SingleByteTable {
    std::uint32_t toUnit[256];          // the unit, or kNoCharacter
    const std::uint16_t* fromUnit[256]; // per high byte of a BMP unit: the byte, 0xFFFF unmapped
    std::uint8_t fixFirst;              // the bytes that do not decode to their own value lie in
    std::uint8_t fixLast;               // fixFirst..fixLast (fixFirst > fixLast: there are none)
    const std::uint32_t* pairs;         // when every byte is a character and some are not their own
                                        // unit: the two units of each byte pair (indexed little-endian)
    bool allValid;                      // every byte is a character
    bool usable;                        // false when the encoding does not fit this scheme
};
// Null when the encoding has no usable table.
const SingleByteTable* TableFor(Codec codec);

// UTF-8 -> UTF-16 (out: little-endian bytes; null out measures). Returns bytes of UTF-16.
long Utf8ToUtf16(const std::uint8_t* src, std::size_t n, std::uint8_t* out, std::size_t outCap);
// UTF-16 (little-endian bytes, count units) -> UTF-8. Returns bytes.
long Utf16ToUtf8(const std::uint8_t* src, std::size_t units, std::uint8_t* out, std::size_t outCap, bool lossy);
long SingleByteToUtf16(const SingleByteTable& table, const std::uint8_t* src, std::size_t n, std::uint8_t* out,
                       std::size_t outCap);
long Utf16ToSingleByte(const SingleByteTable& table, const std::uint8_t* src, std::size_t units, std::uint8_t* out,
                       std::size_t outCap, bool lossy);

// --- vector paths, chosen at run time by what the processor offers ------------------------------
enum class VectorLevel { None, SSSE3, AVX2 };
// The processor's best level, capped by SetVectorLimit.
VectorLevel VectorLevelInUse();
// For tests, fuzz targets and benchmarks: every level must give the same answers.
void SetVectorLimit(VectorLevel limit);

// UTF-8 check, and UTF-16 unit count when count is set (KF_TextUtf8Vector.cpp); -1 when ill-formed,
// kNoVector at level None.
constexpr long kNoVector = -100;
long MeasureUtf8Vector(const std::uint8_t* src, std::size_t n, bool count, bool& sawMultibyte);

// The bulk of a conversion with vector instructions (KF_TextTranscodeVector.cpp), for the scalar
// loops to finish: they move src (or i) and out past what they converted, whole characters only,
// and stop while the output has ample room. Utf8ToUtf16Vector checks what it converts and returns
// kInvalid when it met an ill-formed sequence; Utf16ToUtf8Vector returns kInvalid for an unpaired
// surrogate that may not be replaced. Otherwise 0.
long Utf8ToUtf16Vector(const std::uint8_t*& src, const std::uint8_t* end, std::uint8_t*& out,
                       const std::uint8_t* outEnd);
long Utf16ToUtf8Vector(const std::uint8_t* src, std::size_t& i, std::size_t units, std::uint8_t*& out,
                       const std::uint8_t* outEnd, bool lossy);
// Bytes of UTF-8 for the units from i on, moving i past them; stops before an unpaired surrogate
// and near the end. kNoVector below AVX2.
long MeasureUtf16Vector(const std::uint8_t* src, std::size_t& i, std::size_t units);

// Index of the first zero unit among n units, or n.
std::size_t FindZeroUnit(const std::uint16_t* units, std::size_t n);

// Well-formed UTF-8 check; sawMultibyte tells whether a sequence of 2 or more bytes was met.
bool ValidateUtf8(const std::uint8_t* src, std::size_t n, bool& sawMultibyte);

} // namespace kf::detail::text
