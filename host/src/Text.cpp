#include "kfhost/Text.hpp"

#include "kfsdk/PathText.hpp"
#include "kfsdk/Utf8.hpp"

#include <cstdint>
#include <cstdio>

namespace kfhost {
std::u16string FromUTF8(std::string_view utf8)
{
    std::u16string out;
    out.reserve(utf8.size());
    kfsdk::AppendUTF8AsUTF16(utf8, out);
    return out;
}

std::string ToUTF8(std::u16string_view utf16)
{
    return kfsdk::UTF16ToUTF8(utf16.data(), utf16.size());
}

std::u16string PathText(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    kfsdk::AppendPathText(bytes, out);
    return out;
}

std::string PathBytes(std::u16string_view utf16)
{
    return kfsdk::PathBytes(utf16.data(), utf16.size());
}

std::optional<std::size_t> FindInvalidUTF8(std::string_view utf8)
{
    const auto* const begin = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* const end = begin + utf8.size();
    for (const auto* p = begin; p < end;) {
        char32_t cp = 0;
        int bad = 1;
        const int len = kfsdk::DecodeUTF8One(p, end, cp, bad);
        if (len == 0)
            return std::size_t(p - begin);
        p += len;
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

std::string Quote(std::u16string_view utf16)
{
    return Quote(ToUTF8(utf16));
}

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
