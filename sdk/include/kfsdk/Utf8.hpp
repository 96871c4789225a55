// UTF-8 <-> UTF-16, header-only so that the host and the add-on side share one conversion without
// either linking the other's library: the same bytes become the same text on both sides.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kfsdk {

// Length of the well-formed sequence at p (1 to 4) with its code point, or 0 when the bytes there
// do not start one; bad then tells how many bytes make up the maximal ill-formed subpart, which
// becomes one U+FFFD.
inline int DecodeUTF8One(const unsigned char* p, const unsigned char* end, char32_t& cp, int& bad)
{
    const unsigned char b0 = p[0];
    bad = 1;
    if (b0 < 0x80) {
        cp = b0;
        return 1;
    }
    int need = 0;
    unsigned char lo = 0x80;
    unsigned char hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        need = 1;
        cp = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        cp = b0 & 0x0F;
        if (b0 == 0xE0)
            lo = 0xA0;
        else if (b0 == 0xED)
            hi = 0x9F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        cp = b0 & 0x07;
        if (b0 == 0xF0)
            lo = 0x90;
        else if (b0 == 0xF4)
            hi = 0x8F;
    } else {
        return 0;
    }
    for (int i = 1; i <= need; ++i) {
        if (p + i >= end)
            return 0;
        const unsigned char b = p[i];
        if (b < lo || b > hi)
            return 0;
        lo = 0x80;
        hi = 0xBF;
        cp = (cp << 6) | (b & 0x3F);
        bad = i + 1;
    }
    return need + 1;
}

// Appends the UTF-16 units of utf8 to out (any container of 16-bit units with push_back).
template <typename Units>
void AppendUTF8AsUTF16(std::string_view utf8, Units& out)
{
    using Unit = typename Units::value_type;
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* const end = p + utf8.size();
    while (p < end) {
        char32_t cp = 0;
        int bad = 1;
        const int n = DecodeUTF8One(p, end, cp, bad);
        if (n == 0) {
            out.push_back(Unit(0xFFFD));
            p += bad;
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(Unit(0xD800 + (cp >> 10)));
            out.push_back(Unit(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(Unit(cp));
        }
        p += n;
    }
}

// An unpaired surrogate becomes U+FFFD, so the result is always well-formed.
template <typename Unit>
std::string UTF16ToUTF8(const Unit* units, std::size_t count)
{
    std::string out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        char32_t cp = units[i];
        if (cp >= 0xD800 && cp <= 0xDFFF) {
            if (cp <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (char32_t(units[i + 1]) - 0xDC00);
                ++i;
            } else {
                cp = 0xFFFD;
            }
        }
        if (cp < 0x80) {
            out.push_back(char(cp));
        } else if (cp < 0x800) {
            out.push_back(char(0xC0 | (cp >> 6)));
            out.push_back(char(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(char(0xE0 | (cp >> 12)));
            out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(char(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(char(0xF0 | (cp >> 18)));
            out.push_back(char(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(char(0x80 | (cp & 0x3F)));
        }
    }
    return out;
}

} // namespace kfsdk
