// UTF-16 to UTF-8, header-only so that the host and the add-on side share one conversion without
// either linking the other's library.
#pragma once

#include <cstddef>
#include <string>

namespace kfsdk {

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
