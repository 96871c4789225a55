// File names are bytes, text is UTF-16: the one lossless mapping between them that host and sdk
// share, so a path with bytes that are not UTF-8 leads to the same file after any number of trips.
#pragma once

#include "kfsdk/Utf8.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace kfsdk {

// Appends bytes to out as UTF-16; a byte that starts no valid sequence becomes U+DC80 to U+DCFF.
template <typename Units>
void AppendPathText(std::string_view bytes, Units& out)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* const end = p + bytes.size();
    while (p < end) {
        const auto* next = p;
        while (next < end) {
            char32_t cp = 0;
            int bad = 1;
            const int n = DecodeUTF8One(next, end, cp, bad);
            if (n == 0)
                break;
            next += n;
        }
        AppendUTF8AsUTF16(std::string_view(reinterpret_cast<const char*>(p), std::size_t(next - p)), out);
        if (next < end)
            out.push_back(typename Units::value_type(0xDC00 + *next++));
        p = next;
    }
}

// The bytes AppendPathText read: a unit U+DC80 to U+DCFF that is not the second half of a pair is
// its byte again; the rest is UTF-8.
template <typename Unit>
std::string PathBytes(const Unit* units, std::size_t count)
{
    std::string out;
    out.reserve(count);
    std::size_t from = 0;
    for (std::size_t i = 0; i <= count; ++i) {
        const bool escaped = i < count && units[i] >= 0xDC80 && units[i] <= 0xDCFF &&
                             (i == 0 || units[i - 1] < 0xD800 || units[i - 1] > 0xDBFF);
        if (i < count && !escaped)
            continue;
        out += UTF16ToUTF8(units + from, i - from);
        if (escaped)
            out.push_back(char(units[i] - 0xDC00));
        from = i + 1;
    }
    return out;
}

} // namespace kfsdk
