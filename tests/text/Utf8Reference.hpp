// The tests' own UTF-8, written from the table of well-formed byte sequences of the UTF-8
// definition and nothing else: an oracle that shares no code with the decoders under test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kftest::utf8ref {

// One row of the table: the range of each byte of a well-formed sequence.
struct Form {
    int length;
    std::uint8_t lo[4];
    std::uint8_t hi[4];
};

inline constexpr Form kForms[] = {
    {1, {0x00}, {0x7F}},
    {2, {0xC2, 0x80}, {0xDF, 0xBF}},
    {3, {0xE0, 0xA0, 0x80}, {0xE0, 0xBF, 0xBF}},
    {3, {0xE1, 0x80, 0x80}, {0xEC, 0xBF, 0xBF}},
    {3, {0xED, 0x80, 0x80}, {0xED, 0x9F, 0xBF}},
    {3, {0xEE, 0x80, 0x80}, {0xEF, 0xBF, 0xBF}},
    {4, {0xF0, 0x90, 0x80, 0x80}, {0xF0, 0xBF, 0xBF, 0xBF}},
    {4, {0xF1, 0x80, 0x80, 0x80}, {0xF3, 0xBF, 0xBF, 0xBF}},
    {4, {0xF4, 0x80, 0x80, 0x80}, {0xF4, 0x8F, 0xBF, 0xBF}},
};

// How many bytes at p (n available) match form f from its start.
inline int Matching(const Form& f, const std::uint8_t* p, std::size_t n)
{
    int k = 0;
    while (k < f.length && std::size_t(k) < n && p[k] >= f.lo[k] && p[k] <= f.hi[k]) {
        ++k;
    }
    return k;
}

// The character at p: its length and code point, or length 0 and in prefix the length of the
// longest start of a well-formed sequence there (the maximal ill-formed subpart, at least 1).
struct Found {
    int length;
    char32_t cp;
    int prefix;
};

inline Found At(const std::uint8_t* p, std::size_t n)
{
    Found found{0, 0, 1};
    for (const Form& f : kForms) {
        const int k = Matching(f, p, n);
        if (k == f.length) {
            // The lead keeps the bits below its length marker, each continuation its low six.
            char32_t cp = p[0] & (0xFFu >> (f.length == 1 ? 1 : f.length + 1));
            for (int i = 1; i < f.length; ++i) {
                cp = (cp << 6) | (p[i] & 0x3Fu);
            }
            return {f.length, cp, f.length};
        }
        found.prefix = k > found.prefix ? k : found.prefix;
    }
    return found;
}

inline void PutUtf16(std::u16string& out, char32_t cp)
{
    if (cp < 0x10000) {
        out += char16_t(cp);
    } else {
        out += char16_t(0xD800 + ((cp - 0x10000) >> 10));
        out += char16_t(0xDC00 + ((cp - 0x10000) & 0x3FF));
    }
}

// Decodes bytes; each byte that is not part of a character becomes 0xDC00 + byte.
inline std::u16string DecodeEscaping(std::string_view bytes)
{
    const auto* p = reinterpret_cast<const std::uint8_t*>(bytes.data());
    std::u16string out;
    for (std::size_t i = 0; i < bytes.size();) {
        const Found f = At(p + i, bytes.size() - i);
        if (f.length == 0) {
            out += char16_t(0xDC00 + p[i]);
            ++i;
        } else {
            PutUtf16(out, f.cp);
            i += std::size_t(f.length);
        }
    }
    return out;
}

// Decodes bytes; each maximal ill-formed subpart becomes one U+FFFD.
inline std::u16string DecodeReplacing(std::string_view bytes)
{
    const auto* p = reinterpret_cast<const std::uint8_t*>(bytes.data());
    std::u16string out;
    for (std::size_t i = 0; i < bytes.size();) {
        const Found f = At(p + i, bytes.size() - i);
        PutUtf16(out, f.length == 0 ? char32_t(0xFFFD) : f.cp);
        i += std::size_t(f.length == 0 ? f.prefix : f.length);
    }
    return out;
}

// The UTF-8 form of a scalar value, by the bit layout of the definition.
inline std::string Encode(char32_t cp)
{
    if (cp < 0x80) {
        return std::string(1, char(cp));
    }
    const int length = cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
    std::string out(std::size_t(length), '\0');
    for (int i = length - 1; i > 0; --i) {
        out[std::size_t(i)] = char(0x80 | (cp & 0x3F));
        cp >>= 6;
    }
    out[0] = char((0xF00u >> length) | cp);
    return out;
}

// Every scalar value from first to last (surrogates skipped), with its UTF-8 bytes and units.
inline void EveryScalarValue(char32_t first, char32_t last, std::string& utf8, std::u16string& utf16)
{
    for (char32_t cp = first; cp <= last; ++cp) {
        if (cp >= 0xD800 && cp <= 0xDFFF) {
            continue;
        }
        utf8 += Encode(cp);
        PutUtf16(utf16, cp);
    }
}

} // namespace kftest::utf8ref
