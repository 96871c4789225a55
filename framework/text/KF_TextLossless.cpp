// Lossless byte <-> string conversion for UTF-8 and the single-byte encodings.
#include "KF_TextLossless.hpp"

#include "KF_TextCodec.hpp"

#include <cstdint>
#include <vector>

namespace kf::detail {

namespace {

using text::Codec;

bool IsEscape(std::uint32_t unit)
{
    return unit >= kEscapeBase + 0x80 && unit <= kEscapeBase + 0xFF;
}

// Length of the well-formed UTF-8 sequence at src (code point in cp), or 0.
std::size_t Utf8Sequence(const std::uint8_t* src, std::size_t n, std::uint32_t& cp)
{
    std::uint8_t const b = src[0];
    std::size_t length = 0;
    std::uint32_t lowest = 0;
    if (b < 0x80) {
        cp = b;
        return 1;
    }
    if (b >= 0xC2 && b <= 0xDF) {
        length = 2, cp = b & 0x1Fu, lowest = 0x80;
    } else if (b >= 0xE0 && b <= 0xEF) {
        length = 3, cp = b & 0x0Fu, lowest = 0x800;
    } else if (b >= 0xF0 && b <= 0xF4) {
        length = 4, cp = b & 0x07u, lowest = 0x10000;
    } else {
        return 0;
    }
    if (length > n) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((src[i] & 0xC0) != 0x80) {
            return 0;
        }
        cp = (cp << 6) | (src[i] & 0x3Fu);
    }
    if (cp < lowest || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        return 0;
    }
    return length;
}

void PushCodePoint(std::vector<unsigned short>& out, std::uint32_t cp)
{
    if (cp < 0x10000) {
        out.push_back(static_cast<unsigned short>(cp));
    } else {
        cp -= 0x10000;
        out.push_back(static_cast<unsigned short>(0xD800 + (cp >> 10)));
        out.push_back(static_cast<unsigned short>(0xDC00 + (cp & 0x3FF)));
    }
}

void AppendUtf8(std::string& out, std::uint32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

KF_String FromUnits(const std::vector<unsigned short>& units)
{
    if (units.empty()) {
        return KF_String("", KF_String::Enc_System);
    }
    return KF_String(units.data(), static_cast<unsigned int>(units.size()));
}

} // namespace

KF_String KF_Text_BytesToString(std::string_view bytes, KF_String::Encoding enc)
{
    const Codec codec = text::Resolve(enc);
    const auto* src = reinterpret_cast<const std::uint8_t*>(bytes.data());
    std::vector<unsigned short> units;
    units.reserve(bytes.size());
    if (codec == Codec::UTF8) {
        for (std::size_t i = 0; i < bytes.size();) {
            std::uint32_t cp = 0;
            std::size_t const used = Utf8Sequence(src + i, bytes.size() - i, cp);
            if (used == 0) {
                units.push_back(static_cast<unsigned short>(kEscapeBase + src[i]));
                ++i;
            } else {
                PushCodePoint(units, cp);
                i += used;
            }
        }
        return FromUnits(units);
    }
    const text::SingleByteTable* table = text::IsSingleByte(codec) ? text::TableFor(codec) : nullptr;
    if (table == nullptr) {
        // No byte-wise table: the ordinary conversion of the whole text.
        return bytes.empty() ? KF_String("", KF_String::Enc_System)
                             : KF_String(bytes.data(), static_cast<unsigned int>(bytes.size()), enc);
    }
    for (std::uint8_t const b : bytes) {
        std::uint32_t const unit = table->toUnit[b];
        units.push_back(static_cast<unsigned short>(unit > 0xFFFF ? kEscapeBase + b : unit));
    }
    return FromUnits(units);
}

std::string KF_Text_StringToBytes(const KF_String& text, KF_String::Encoding enc)
{
    const Codec codec = text::Resolve(enc);
    const unsigned short* units = text.Units();
    std::size_t const count = units != nullptr ? text.GetLength() : 0;
    std::string out;
    out.reserve(count);
    const text::SingleByteTable* table =
        codec != Codec::UTF8 && text::IsSingleByte(codec) ? text::TableFor(codec) : nullptr;
    if (codec != Codec::UTF8 && table == nullptr) {
        const KF_CString converted = text.ToCStr(enc);
        out.assign(converted.bytes != nullptr ? converted.bytes : "",
                   converted.bytes != nullptr ? converted.length : 0);
        while (!out.empty() && out.back() == '\0') {
            out.pop_back();
        }
        return out;
    }
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t const unit = units[i];
        if (IsEscape(unit)) {
            out += static_cast<char>(unit - kEscapeBase);
            continue;
        }
        if (table != nullptr) {
            std::uint32_t const byte = table->fromUnit[unit >> 8][unit & 0xFF];
            out += byte == 0xFFFF ? '?' : static_cast<char>(byte);
            continue;
        }
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            out += '?';
        } else {
            AppendUtf8(out, unit);
        }
    }
    return out;
}

} // namespace kf::detail
