// KF_String: byte-order marks, guessing the encoding of raw text, UTF-8 validation.
#include "KF_TextCodec.hpp"

#include <cstring>

KF_CString KF_String::GetBOM(Encoding enc)
{
    static const unsigned char utf8[] = {0xEF, 0xBB, 0xBF};
    static const unsigned char utf16le[] = {0xFF, 0xFE};
    static const unsigned char utf16be[] = {0xFE, 0xFF};
    static const unsigned char utf32le[] = {0xFF, 0xFE, 0x00, 0x00};
    static const unsigned char utf32be[] = {0x00, 0x00, 0xFE, 0xFF};
    const unsigned char* mark = nullptr;
    unsigned int size = 0;
    switch (enc) {
    case Enc_UTF8:
        mark = utf8;
        size = sizeof utf8;
        break;
    case Enc_UTF16LE:
        mark = utf16le;
        size = sizeof utf16le;
        break;
    case Enc_UTF16BE:
        mark = utf16be;
        size = sizeof utf16be;
        break;
    case Enc_UTF32LE:
        mark = utf32le;
        size = sizeof utf32le;
        break;
    case Enc_UTF32BE:
        mark = utf32be;
        size = sizeof utf32be;
        break;
    default:
        break;
    }
    KF_CString result;
    result.encoding = enc;
    if (mark != nullptr) {
        result.bytes = new char[size];
        std::memcpy(result.bytes, mark, size);
        result.length = size;
    }
    return result;
}

unsigned int KF_String::DetectBOM(const void* bytes, unsigned int size, Encoding& enc)
{
    if (bytes == nullptr || size < 2) {
        return 0;
    }
    const auto* b = static_cast<const unsigned char*>(bytes);
    auto starts = [&](std::initializer_list<unsigned char> mark) {
        return mark.size() <= size && std::memcmp(b, mark.begin(), mark.size()) == 0;
    };
    if (starts({0xFE, 0xFF})) {
        enc = Enc_UTF16BE;
        return 2;
    }
    if (starts({0xFF, 0xFE}) && (size < 4 || b[2] != 0 || b[3] != 0)) {
        enc = Enc_UTF16LE;
        return 2;
    }
    if (size >= 3) {
        if (starts({0xEF, 0xBB, 0xBF})) {
            enc = Enc_UTF8;
            return 3;
        }
        // UTF-1, SCSU, BOCU-1
        if (starts({0xF7, 0x64, 0x4C}) || starts({0x0E, 0xFE, 0xFF}) || starts({0xFB, 0xEE, 0x28})) {
            enc = Enc_Unsupported;
            return 3;
        }
    }
    if (size >= 4) {
        if (starts({0x2B, 0x2F, 0x76}) && (b[3] == 0x38 || b[3] == 0x39 || b[3] == 0x2B || b[3] == 0x2F)) {
            enc = Enc_UTF7;
            return (b[3] == 0x38 && size >= 5 && b[4] == 0x2D) ? 5 : 4;
        }
        if (starts({0xFF, 0xFE, 0x00, 0x00})) {
            enc = Enc_UTF32LE;
            return 4;
        }
        if (starts({0x00, 0x00, 0xFE, 0xFF})) {
            enc = Enc_UTF32BE;
            return 4;
        }
        // UTF-EBCDIC, GB 18030
        if (starts({0xDD, 0x73, 0x66, 0x73}) || starts({0x84, 0x31, 0x95, 0x33})) {
            enc = Enc_Unsupported;
            return 4;
        }
    }
    return 0;
}

namespace {

KF_String::Encoding GuessEncoding(const unsigned char* b, unsigned int size)
{
    if (size % 4 == 0) {
        bool le = true;
        for (unsigned int i = 0; i < size && le; i += 4) {
            const unsigned long word = b[i] | (b[i + 1] << 8) | (static_cast<unsigned long>(b[i + 2]) << 16) |
                                       (static_cast<unsigned long>(b[i + 3]) << 24);
            le = word <= 0x10FFFF;
        }
        if (le) {
            return KF_String::Enc_UTF32LE;
        }
        bool be = true;
        for (unsigned int i = 0; i < size && be; i += 4) {
            be = b[i] == 0 && b[i + 1] <= 0x10;
        }
        if (be) {
            return KF_String::Enc_UTF32BE;
        }
    }
    unsigned long zeroEven = 0;
    unsigned long zeroOdd = 0;
    for (unsigned int i = 0; i < size; ++i) {
        if (b[i] == 0) {
            ++((i % 2 == 0) ? zeroEven : zeroOdd);
        }
    }
    const double e = 2.0 * double(zeroEven) / double(size);
    const double o = 2.0 * double(zeroOdd) / double(size);
    if (e < 0.2 && o > 0.6) {
        return KF_String::Enc_UTF16LE;
    }
    if (o < 0.2 && e > 0.6) {
        return KF_String::Enc_UTF16BE;
    }
    if (KF_String::IsUTF8(reinterpret_cast<const char*>(b), size, false)) {
        return KF_String::Enc_UTF8;
    }
    return KF_String::Enc_None;
}

} // namespace

KF_String::Encoding KF_String::TextToString(KF_String& dst, const char* bytes, unsigned int size, bool detect,
                                            Encoding fallback)
{
    Encoding found = Enc_None;
    const unsigned int bom = DetectBOM(bytes, size, found);
    if (bom == 0) {
        if (!detect) {
            found = fallback;
        } else if (bytes != nullptr) {
            found = GuessEncoding(reinterpret_cast<const unsigned char*>(bytes), size);
        }
    }
    const Encoding use = (found == Enc_None || found == Enc_Unsupported) ? Enc_System : found;
    if (bytes != nullptr && size == bom) {
        // Nothing behind the mark; a length of 0 would mean "up to a terminator" below.
        dst = MakeEmpty();
    } else {
        CStringToKF_String(dst, bytes == nullptr ? nullptr : bytes + bom, size - bom, use, false);
    }
    return found;
}

bool KF_String::IsUTF8(const char* text, bool needMultibyte)
{
    if (text == nullptr) {
        return false;
    }
    std::size_t const size = std::strlen(text);
    bool multi = false;
    const bool valid = kf::detail::text::ValidateUtf8(reinterpret_cast<const std::uint8_t*>(text), size, multi);
    return valid && (multi || !needMultibyte);
}

bool KF_String::IsUTF8(const char* text, unsigned int size, bool needMultibyte)
{
    if (text == nullptr) {
        return false;
    }
    bool multi = false;
    const bool valid = kf::detail::text::ValidateUtf8(reinterpret_cast<const std::uint8_t*>(text), size, multi);
    return valid && (multi || !needMultibyte);
}
