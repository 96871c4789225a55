// Lossless byte <-> string conversion for UTF-8 and the single-byte encodings. UTF-8 is decoded by
// the project's one decoder (kfsdk/Utf8.hpp), valid text by the framework's fast conversion.
#include "KF_TextLossless.hpp"

#include "KF_TextCodec.hpp"
#include "kfsdk/Utf8.hpp"

#include <cstdint>
#include <vector>

namespace kf::detail {

namespace {

using text::Codec;

bool IsEscape(std::uint32_t unit)
{
    return unit >= kEscapeBase + 0x80 && unit <= kEscapeBase + 0xFF;
}

KF_String FromUnits(const std::vector<unsigned short>& units)
{
    if (units.empty()) {
        return KF_String("", KF_String::Enc_System);
    }
    return KF_String(units.data(), static_cast<unsigned int>(units.size()));
}

// The ordinary conversion of count units (zero units included), "?" for what enc cannot hold.
std::string Convert(const unsigned short* units, std::size_t count, KF_String::Encoding enc)
{
    const char* const src = reinterpret_cast<const char*>(units);
    const long srcBytes = long(2 * count);
    const long need =
        KF_String::ConvertChangeEncoding(KF_String::Enc_UTF16LE, src, srcBytes, enc, nullptr, 0, false, true);
    if (count == 0 || need <= 0) {
        return {};
    }
    std::string out(std::size_t(need), '\0');
    const long written =
        KF_String::ConvertChangeEncoding(KF_String::Enc_UTF16LE, src, srcBytes, enc, out.data(), need, false, true);
    out.resize(written > 0 ? std::size_t(written) : 0);
    return out;
}

// The bytes of the escape units from i on (at most four): what the reader will meet behind the
// byte of units[i].
std::size_t EscapedBytesAt(const unsigned short* units, std::size_t i, std::size_t count, unsigned char* bytes)
{
    std::size_t n = 0;
    while (n < 4 && i + n < count && IsEscape(units[i + n])) {
        bytes[n] = static_cast<unsigned char>(units[i + n] - kEscapeBase);
        ++n;
    }
    return n;
}

// Escape units and the units around them, written as bytes; an escape unit becomes its byte only
// where the reader turns that byte back into the same escape unit, else "?".
std::string WriteWithEscapes(const unsigned short* units, std::size_t count, const text::SingleByteTable* table)
{
    std::string out;
    out.reserve(count);
    char bytes[4];
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t const unit = units[i];
        if (IsEscape(unit)) {
            unsigned char run[4] = {};
            std::size_t const n = EscapedBytesAt(units, i, count, run);
            bool readsBack = false;
            if (table != nullptr) {
                readsBack = table->toUnit[run[0]] == text::kNoCharacter;
            } else {
                // Only the escape units behind it can complete a sequence: every character the
                // writer puts there starts with ASCII or a lead byte.
                char32_t cp = 0;
                int bad = 0;
                readsBack = kfsdk::DecodeUTF8One(run, run + n, cp, bad) == 0;
            }
            out += readsBack ? static_cast<char>(run[0]) : '?';
            continue;
        }
        const char32_t pair = kfsdk::SurrogatePairAt(units, i, count);
        if (table != nullptr) {
            std::uint32_t const byte = pair != 0 ? 0xFFFF : table->fromUnit[unit >> 8][unit & 0xFF];
            out += byte == 0xFFFF ? '?' : static_cast<char>(byte);
        } else if (pair != 0) {
            out.append(bytes, std::size_t(kfsdk::EncodeUTF8One(pair, bytes)));
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            out += '?';
        } else {
            out.append(bytes, std::size_t(kfsdk::EncodeUTF8One(unit, bytes)));
        }
        i += pair != 0 ? 1 : 0; // one character, one "?" in a single-byte encoding
    }
    return out;
}

} // namespace

KF_String KF_Text_BytesToString(std::string_view bytes, KF_String::Encoding enc)
{
    if (bytes.empty()) {
        return KF_String("", KF_String::Enc_System);
    }
    const Codec codec = text::Resolve(enc);
    const auto* src = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto* const end = src + bytes.size();
    const text::SingleByteTable* table = text::IsSingleByte(codec) ? text::TableFor(codec) : nullptr;
    bool multi = false;
    if ((codec == Codec::UTF8 && text::ValidateUtf8(src, bytes.size(), multi)) ||
        (codec != Codec::UTF8 && (table == nullptr || table->allValid))) {
        // Nothing to escape (or, without a byte-wise table, no way to): the ordinary conversion.
        return KF_String(bytes.data(), static_cast<unsigned int>(bytes.size()), enc);
    }
    std::vector<unsigned short> units;
    units.reserve(bytes.size());
    if (codec == Codec::UTF8) {
        for (const std::uint8_t* p = src; p < end;) {
            char32_t cp = 0;
            int bad = 0;
            const int used = kfsdk::DecodeUTF8One(p, end, cp, bad);
            if (used == 0) {
                // Every byte of an ill-formed subpart is escaped on its own.
                units.push_back(static_cast<unsigned short>(kEscapeBase + *p++));
            } else {
                kfsdk::AppendUTF16(cp, units);
                p += used;
            }
        }
        return FromUnits(units);
    }
    for (std::uint8_t const b : bytes) {
        std::uint32_t const unit = table->toUnit[b];
        units.push_back(static_cast<unsigned short>(unit == text::kNoCharacter ? kEscapeBase + b : unit));
    }
    return FromUnits(units);
}

std::string KF_Text_StringToBytes(const KF_String& text, KF_String::Encoding enc)
{
    const Codec codec = text::Resolve(enc);
    const unsigned short* units = text.Units();
    std::size_t const count = units != nullptr ? text.GetLength() : 0;
    const text::SingleByteTable* table = text::IsSingleByte(codec) ? text::TableFor(codec) : nullptr;
    bool escapes = false;
    for (std::size_t i = 0; i < count && !escapes; ++i) {
        escapes = IsEscape(units[i]);
    }
    if (!escapes || (codec != Codec::UTF8 && table == nullptr)) {
        return Convert(units, count, enc);
    }
    return WriteWithEscapes(units, count, codec == Codec::UTF8 ? nullptr : table);
}

} // namespace kf::detail
