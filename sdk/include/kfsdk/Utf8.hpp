// The one UTF-8 decoder and encoder of the project, header-only so that the host, the sdk and the
// framework share them without linking each other's libraries: the same bytes become the same
// text everywhere. The framework's vector paths only speed up what this decoder decides.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kfsdk {

// Length (1 to 4) of the well-formed sequence at p, with its code point in cp; 0 when the bytes
// there do not start one (p < end). bad then tells how many bytes form the maximal ill-formed
// subpart: 1, or the lead and the continuation bytes that were still acceptable before the fault.
// The accepted forms are exactly those of the UTF-8 definition: no overlong forms, no encoded
// surrogates, nothing above U+10FFFF.
inline int DecodeUTF8One(const unsigned char* p, const unsigned char* end, char32_t& cp, int& bad)
{
    const unsigned b0 = p[0];
    bad = 1;
    if (b0 < 0x80) {
        cp = b0;
        return 1;
    }
    if (b0 < 0xC2 || b0 > 0xF4) {
        return 0;
    }
    // Only the second byte has lead-dependent bounds; they exclude the overlong forms (E0, F0),
    // the surrogates (ED) and what lies above U+10FFFF (F4).
    unsigned lo = 0x80;
    unsigned hi = 0xBF;
    if (b0 == 0xE0) {
        lo = 0xA0;
    } else if (b0 == 0xED) {
        hi = 0x9F;
    } else if (b0 == 0xF0) {
        lo = 0x90;
    } else if (b0 == 0xF4) {
        hi = 0x8F;
    }
    const std::ptrdiff_t avail = end - p;
    if (avail < 2 || p[1] < lo || p[1] > hi) {
        return 0;
    }
    if (b0 < 0xE0) {
        cp = ((b0 & 0x1Fu) << 6) | (p[1] & 0x3Fu);
        return 2;
    }
    bad = 2;
    if (avail < 3 || (p[2] & 0xC0) != 0x80) {
        return 0;
    }
    if (b0 < 0xF0) {
        cp = ((b0 & 0x0Fu) << 12) | ((p[1] & 0x3Fu) << 6) | (p[2] & 0x3Fu);
        return 3;
    }
    bad = 3;
    if (avail < 4 || (p[3] & 0xC0) != 0x80) {
        return 0;
    }
    cp = ((b0 & 0x07u) << 18) | ((p[1] & 0x3Fu) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
    return 4;
}

// Writes the UTF-8 form of cp (a code point that is not a surrogate, at most U+10FFFF) to out,
// which has room for 4 bytes. Returns its length.
inline int EncodeUTF8One(char32_t cp, char* out)
{
    if (cp < 0x80) {
        out[0] = char(cp);
        return 1;
    }
    if (cp < 0x800) {
        out[0] = char(0xC0 | (cp >> 6));
        out[1] = char(0x80 | (cp & 0x3F));
        return 2;
    }
    if (cp < 0x10000) {
        out[0] = char(0xE0 | (cp >> 12));
        out[1] = char(0x80 | ((cp >> 6) & 0x3F));
        out[2] = char(0x80 | (cp & 0x3F));
        return 3;
    }
    out[0] = char(0xF0 | (cp >> 18));
    out[1] = char(0x80 | ((cp >> 12) & 0x3F));
    out[2] = char(0x80 | ((cp >> 6) & 0x3F));
    out[3] = char(0x80 | (cp & 0x3F));
    return 4;
}

// The code point of the surrogate pair at units[i], or 0 when units[i] does not start one.
template <typename Unit>
char32_t SurrogatePairAt(const Unit* units, std::size_t i, std::size_t count)
{
    const char32_t u = units[i];
    if (u < 0xD800 || u > 0xDBFF || i + 1 >= count) {
        return 0;
    }
    const char32_t v = units[i + 1];
    if (v < 0xDC00 || v > 0xDFFF) {
        return 0;
    }
    return 0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00);
}

// Appends the UTF-16 units of cp to out (any container of 16-bit units with push_back).
template <typename Units>
void AppendUTF16(char32_t cp, Units& out)
{
    using Unit = typename Units::value_type;
    if (cp >= 0x10000) {
        cp -= 0x10000;
        out.push_back(Unit(0xD800 + (cp >> 10)));
        out.push_back(Unit(0xDC00 + (cp & 0x3FF)));
    } else {
        out.push_back(Unit(cp));
    }
}

// Appends the UTF-16 units of utf8 to out; each maximal ill-formed subpart becomes one U+FFFD.
template <typename Units>
void AppendUTF8AsUTF16(std::string_view utf8, Units& out)
{
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* const end = p + utf8.size();
    while (p < end) {
        char32_t cp = 0;
        int bad = 1;
        const int n = DecodeUTF8One(p, end, cp, bad);
        AppendUTF16(n == 0 ? char32_t(0xFFFD) : cp, out);
        p += n == 0 ? bad : n;
    }
}

// An unpaired surrogate becomes U+FFFD, so the result is always well-formed.
template <typename Unit>
std::string UTF16ToUTF8(const Unit* units, std::size_t count)
{
    std::string out;
    out.reserve(count);
    char bytes[4];
    for (std::size_t i = 0; i < count; ++i) {
        char32_t cp = units[i];
        if (cp >= 0xD800 && cp <= 0xDFFF) {
            const char32_t pair = SurrogatePairAt(units, i, count);
            cp = pair != 0 ? pair : char32_t(0xFFFD);
            i += pair != 0 ? 1 : 0;
        }
        out.append(bytes, std::size_t(EncodeUTF8One(cp, bytes)));
    }
    return out;
}

} // namespace kfsdk
