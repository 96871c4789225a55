#include "kfhost/Text.hpp"

#include "kfsdk/Utf8.hpp"

#include <cstdint>
#include <cstdio>

namespace kfhost {
namespace {

// Length of the well-formed sequence at text[i] and its code point, or 0 when ill-formed.
std::size_t DecodeOne(std::string_view text, std::size_t i, char32_t& cp)
{
    const auto b0 = static_cast<unsigned char>(text[i]);
    if (b0 < 0x80) {
        cp = b0;
        return 1;
    }
    std::size_t len = 0;
    char32_t min = 0;
    if ((b0 & 0xE0) == 0xC0) {
        len = 2;
        cp = b0 & 0x1F;
        min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        len = 3;
        cp = b0 & 0x0F;
        min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        len = 4;
        cp = b0 & 0x07;
        min = 0x10000;
    } else {
        return 0;
    }
    if (i + len > text.size())
        return 0;
    for (std::size_t k = 1; k < len; ++k) {
        const auto b = static_cast<unsigned char>(text[i + k]);
        if ((b & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (b & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return len;
}

} // namespace

std::u16string FromUTF8(std::string_view utf8)
{
    std::u16string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        char32_t cp = 0;
        const std::size_t len = DecodeOne(utf8, i, cp);
        if (len == 0) {
            out.push_back(u'\uFFFD');
            ++i;
            continue;
        }
        i += len;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(char16_t(0xD800 + (cp >> 10)));
            out.push_back(char16_t(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(char16_t(cp));
        }
    }
    return out;
}

std::string ToUTF8(std::u16string_view utf16)
{
    return kfsdk::UTF16ToUTF8(utf16.data(), utf16.size());
}

std::optional<std::size_t> FindInvalidUTF8(std::string_view utf8)
{
    for (std::size_t i = 0; i < utf8.size();) {
        char32_t cp = 0;
        const std::size_t len = DecodeOne(utf8, i, cp);
        if (len == 0)
            return i;
        i += len;
    }
    return std::nullopt;
}

std::string Quote(std::string_view utf8)
{
    std::string out = "\"";
    for (char c : utf8) {
        if (c == '"' || c == '\\')
            out.push_back('\\');
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out.push_back(c);
    }
    out.push_back('"');
    return out;
}

std::string Quote(std::u16string_view utf16) { return Quote(ToUTF8(utf16)); }

std::string FourCCText(std::uint32_t code)
{
    std::string out;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto c = static_cast<unsigned char>((code >> shift) & 0xFF);
        if (c >= 0x20 && c < 0x7F) {
            out.push_back(char(c));
        } else {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02X", c);
            out += buf;
        }
    }
    return out;
}

} // namespace kfhost
