// Conversions between KF_String and byte texts: the one converter and the wrappers over it.
#include "KF_TextCodec.hpp"

#include <climits>
#include <cstring>

namespace kf::detail::text {

int UnitSize(Codec codec)
{
    switch (codec) {
    case Codec::UTF16LE:
    case Codec::UTF16BE:
        return 2;
    case Codec::UTF32LE:
    case Codec::UTF32BE:
        return 4;
    default:
        return 1;
    }
}

bool IsSingleByte(Codec codec)
{
    return codec == Codec::ASCII || codec == Codec::MacRoman || codec == Codec::WinLatin1 || codec == Codec::ISOLatin1;
}

bool IsAsciiCompatible(Codec codec)
{
    return codec == Codec::UTF8 || IsSingleByte(codec);
}

} // namespace kf::detail::text

namespace {

using namespace kf::detail::text;

constexpr long kNoRoute = LONG_MIN;

int TerminatorSize(KF_String::Encoding enc)
{
    if (enc == KF_String::Enc_UTF16LE || enc == KF_String::Enc_UTF16BE) {
        return 2;
    }
    if (enc == KF_String::Enc_UTF32LE || enc == KF_String::Enc_UTF32BE) {
        return 4;
    }
    return 1;
}

bool IsZeroUnit(const char* p, int unit)
{
    for (int i = 0; i < unit; ++i) {
        if (p[i] != 0) {
            return false;
        }
    }
    return true;
}

std::size_t MeasureTerminated(const char* src, int unit)
{
    if (unit == 1) {
        return std::strlen(src);
    }
    std::size_t bytes = 0;
    while (!IsZeroUnit(src + bytes, unit)) {
        bytes += std::size_t(unit);
    }
    return bytes;
}

inline std::uint32_t LoadUnit(const std::uint8_t* p, int size, bool bigEndian)
{
    std::uint32_t v = 0;
    for (int i = 0; i < size; ++i) {
        const int shift = bigEndian ? 8 * (size - 1 - i) : 8 * i;
        v |= std::uint32_t(p[i]) << shift;
    }
    return v;
}

// UTF-32 becomes UTF-16 by the framework's own rule: surrogate values and values above U+10FFFF
// turn into U+FFFD rather than failing.
void Utf32ToPivot(const std::uint8_t* src, std::size_t bytes, bool bigEndian, std::vector<char16_t>& pivot)
{
    std::size_t const count = bytes / 4;
    pivot.clear();
    pivot.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t const v = LoadUnit(src + 4 * i, 4, bigEndian);
        if (v < 0x10000) {
            pivot.push_back((v >= 0xD800 && v <= 0xDFFF) ? char16_t(0xFFFD) : char16_t(v));
        } else if (v <= 0x10FFFF) {
            pivot.push_back(char16_t(0xD800 + ((v - 0x10000) >> 10)));
            pivot.push_back(char16_t(0xDC00 + ((v - 0x10000) & 0x3FF)));
        } else {
            pivot.push_back(char16_t(0xFFFD));
        }
    }
}

// Source bytes to UTF-16 units; false when the source is ill-formed.
bool Decode(Codec from, const std::uint8_t* src, std::size_t n, std::vector<char16_t>& pivot)
{
    switch (from) {
    case Codec::UTF16LE:
    case Codec::UTF16BE: {
        // A trailing odd byte is not a unit and is ignored, as for UTF-32.
        std::size_t const count = n / 2;
        pivot.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            pivot[i] = char16_t(LoadUnit(src + 2 * i, 2, from == Codec::UTF16BE));
        }
        return true;
    }
    case Codec::UTF32LE:
    case Codec::UTF32BE:
        Utf32ToPivot(src, n, from == Codec::UTF32BE, pivot);
        return true;
    default:
        break;
    }
    if (FastPathsEnabled()) {
        const SingleByteTable* table = TableFor(from);
        if (from == Codec::UTF8 || table != nullptr) {
            pivot.resize(n);
            const long r = table != nullptr
                               ? SingleByteToUtf16(*table, src, n, reinterpret_cast<std::uint8_t*>(pivot.data()), 2 * n)
                               : Utf8ToUtf16(src, n, reinterpret_cast<std::uint8_t*>(pivot.data()), 2 * n);
            if (r < 0) {
                return false;
            }
            pivot.resize(std::size_t(r) / 2);
            return true;
        }
    }
    return PlatformDecode(from, reinterpret_cast<const char*>(src), n, pivot);
}

// UTF-16 units to target bytes, written to dst when it has room (cap bytes) or measured when dst
// is null. Returns the byte count or a negative code.
long Encode(const std::vector<char16_t>& pivot, Codec to, std::uint8_t* dst, std::size_t cap, bool lossy)
{
    std::size_t const count = pivot.size();
    if (to == Codec::UTF16LE || to == Codec::UTF16BE) {
        if (dst != nullptr) {
            if (cap < 2 * count) {
                return kTooSmall;
            }
            const bool big = to == Codec::UTF16BE;
            for (std::size_t i = 0; i < count; ++i) {
                std::uint32_t const u = pivot[i];
                dst[2 * i] = std::uint8_t(big ? u >> 8 : u);
                dst[2 * i + 1] = std::uint8_t(big ? u : u >> 8);
            }
        }
        return long(2 * count);
    }
    if (FastPathsEnabled()) {
        const auto* units = reinterpret_cast<const std::uint8_t*>(pivot.data());
        if (to == Codec::UTF8) {
            return Utf16ToUtf8(units, count, dst, cap, lossy);
        }
        if (const SingleByteTable* table = TableFor(to)) {
            return Utf16ToSingleByte(*table, units, count, dst, cap, lossy);
        }
    }
    std::string bytes;
    if (!PlatformEncode(to, pivot.data(), count, lossy, bytes)) {
        return kInvalid;
    }
    if (dst != nullptr) {
        if (cap < bytes.size()) {
            return kTooSmall;
        }
        std::memcpy(dst, bytes.data(), bytes.size());
    }
    return long(bytes.size());
}

// The hot conversions, straight between the source and the destination without the pivot.
long ConvertDirect(Codec from, const std::uint8_t* src, std::size_t n, Codec to, std::uint8_t* dst, std::size_t cap,
                   bool lossy)
{
    if (to == Codec::UTF16LE) {
        if (from == Codec::UTF8) {
            return Utf8ToUtf16(src, n, dst, cap);
        }
        if (const SingleByteTable* table = TableFor(from)) {
            return SingleByteToUtf16(*table, src, n, dst, cap);
        }
    } else if (from == Codec::UTF16LE) {
        if (to == Codec::UTF8) {
            return Utf16ToUtf8(src, n / 2, dst, cap, lossy);
        }
        if (const SingleByteTable* table = TableFor(to)) {
            return Utf16ToSingleByte(*table, src, n / 2, dst, cap, lossy);
        }
    }
    return kNoRoute;
}

} // namespace

long KF_String::ConvertChangeEncoding(Encoding from, const char* src, long srcBytes, Encoding to, char* dst,
                                      long dstBytes, bool terminate, bool lossy)
{
    if (src == nullptr) {
        if (dst != nullptr && dstBytes > 0) {
            dst[0] = 0;
        }
        return -3;
    }
    if (from < 2) {
        return -4;
    }
    if (to < 2) {
        return -5;
    }
    const long term = terminate ? TerminatorSize(to) : 0;
    const Codec source = kf::detail::text::Resolve(from);
    const Codec target = kf::detail::text::Resolve(to);
    const int unit = TerminatorSize(from);
    if (srcBytes == 0 && IsZeroUnit(src, unit)) {
        if (!terminate) {
            return 0;
        }
        if (dst == nullptr) {
            return term;
        }
        if (dstBytes < term) {
            return -2;
        }
        std::memset(dst, 0, std::size_t(term));
        return term;
    }
    std::size_t const n = srcBytes > 0 ? std::size_t(srcBytes) : MeasureTerminated(src, unit);
    const auto* in = reinterpret_cast<const std::uint8_t*>(src);
    auto* out = reinterpret_cast<std::uint8_t*>(dst);
    // Room for the text itself; the terminator must fit behind it.
    std::size_t const cap = (dst != nullptr && dstBytes > term) ? std::size_t(dstBytes - term) : 0;

    long result = kNoRoute;
    if (kf::detail::text::FastPathsEnabled()) {
        result = ConvertDirect(source, in, n, target, out, cap, lossy);
    }
    if (result == kNoRoute) {
        std::vector<char16_t> pivot;
        result = Decode(source, in, n, pivot) ? Encode(pivot, target, out, cap, lossy) : kInvalid;
    }
    if (result < 0) {
        return result;
    }
    if (dst == nullptr) {
        return result + term;
    }
    if (result + term > dstBytes) {
        return -2;
    }
    std::memset(dst + result, 0, std::size_t(term));
    return result + term;
}

unsigned short KF_String::CharToKF_Char(char c, Encoding enc)
{
    if (enc >= 2 && static_cast<unsigned char>(c) < 0x80 && IsAsciiCompatible(kf::detail::text::Resolve(enc))) {
        return static_cast<unsigned char>(c);
    }
    unsigned char out[8] = {};
    const long r =
        ConvertChangeEncoding(enc, &c, 1, Enc_UTF16LE, reinterpret_cast<char*>(out), sizeof out, false, true);
    if (r != 2) {
        return 0;
    }
    return static_cast<unsigned short>(out[0] | (out[1] << 8));
}

char KF_String::KF_CharToChar(unsigned short unit, Encoding enc)
{
    if (enc >= 2 && unit < 0x80 && IsAsciiCompatible(kf::detail::text::Resolve(enc))) {
        return static_cast<char>(unit);
    }
    const char in[2] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    char out[16] = {};
    const long r = ConvertChangeEncoding(Enc_UTF16LE, in, 2, enc, out, sizeof out, false, true);
    return r == 1 ? out[0] : '?';
}

bool KF_String::CStringToKF_String(KF_String& dst, const char* src, unsigned int srcBytes, Encoding enc, bool append)
{
    if (src == nullptr) {
        if (!append) {
            dst.SetToNullString();
        }
        return true;
    }
    const long need = ConvertChangeEncoding(enc, src, long(srcBytes), Enc_UTF16LE, nullptr, 0, true, true);
    if (need < 0) {
        return false;
    }
    const unsigned long long units = static_cast<unsigned long long>(need) / 2; // terminator included
    const unsigned int base = append ? dst.length : 0;
    if (units == 0 || base + units > 0xFFFFFFFFull) {
        return false;
    }
    dst.THIS_Alloc(static_cast<unsigned int>(base + units), append);
    const long r = ConvertChangeEncoding(enc, src, long(srcBytes), Enc_UTF16LE,
                                         reinterpret_cast<char*>(dst.buffer + base), long(units * 2), true, true);
    if (r < 0) {
        // Only reachable when the application encoding changed between the two calls.
        dst.length = base;
        dst.buffer[base] = 0;
        return false;
    }
    dst.length = static_cast<unsigned int>(base + units - 1);
    dst.buffer[dst.length] = 0;
    return true;
}

namespace {

// The bytes of the units to convert: count units from `from`, cut at the end; count 0 reads to the
// first zero unit, found here within the string's known length rather than by the converter.
long SourceBytes(const KF_String& src, unsigned int from, unsigned int count)
{
    const unsigned int avail = src.GetLength() - from;
    if (count == 0) {
        count = static_cast<unsigned int>(kf::detail::text::FindZeroUnit(src.Units() + from, avail));
    }
    // 0 (an empty range) makes the converter read the terminator at the end: the empty text.
    return 2L * long(count < avail ? count : avail);
}

} // namespace

bool KF_String::KF_StringToCString(char** out, unsigned int& outBytes, Encoding enc, const KF_String& src,
                                   unsigned int from, unsigned int count)
{
    outBytes = 0;
    if (out == nullptr) {
        return false;
    }
    *out = nullptr;
    if (src.buffer == nullptr || from > src.length) {
        return false;
    }
    const long srcBytes = SourceBytes(src, from, count);
    const char* const units = reinterpret_cast<const char*>(src.buffer + from);
    const long need = ConvertChangeEncoding(Enc_UTF16LE, units, srcBytes, enc, nullptr, 0, true, true);
    if (need <= 0 || static_cast<unsigned long>(need) > 0xFFFFFFFFul) {
        return false;
    }
    char* bytes = new char[static_cast<std::size_t>(need)];
    const long r = ConvertChangeEncoding(Enc_UTF16LE, units, srcBytes, enc, bytes, need, true, true);
    if (r < 0) {
        delete[] bytes;
        return false;
    }
    *out = bytes;
    outBytes = static_cast<unsigned int>(r);
    return true;
}

long KF_String::KF_StringToCStringLenBytes(Encoding enc, const KF_String& src, unsigned int from, unsigned int count)
{
    if (src.buffer == nullptr || from > src.length) {
        return -1;
    }
    const long srcBytes = SourceBytes(src, from, count);
    const long need = ConvertChangeEncoding(Enc_UTF16LE, reinterpret_cast<const char*>(src.buffer + from), srcBytes,
                                            enc, nullptr, 0, false, true);
    return need < 0 ? -1 : need;
}

KF_CString KF_String::ToCStr(Encoding enc) const
{
    KF_CString result;
    ToCStr(result, enc);
    return result;
}

bool KF_String::ToCStr(KF_CString& out, Encoding enc) const
{
    out.Release();
    out.encoding = enc;
    return KF_StringToCString(&out.bytes, out.length, enc, *this, 0, 0);
}

// --- KF_CString ---------------------------------------------------------------------------------

KF_CString::KF_CString(const KF_CString& other) : length(other.length), encoding(other.encoding)
{
    if (other.bytes != nullptr) {
        bytes = new char[other.length > 0 ? other.length : 1];
        std::memcpy(bytes, other.bytes, other.length);
    }
}

KF_CString::KF_CString(KF_CString&& other) noexcept : bytes(other.bytes), length(other.length), encoding(other.encoding)
{
    other.bytes = nullptr;
    other.length = 0;
}

KF_CString& KF_CString::operator=(const KF_CString& other)
{
    if (this != &other) {
        KF_CString copy(other);
        *this = std::move(copy);
    }
    return *this;
}

KF_CString& KF_CString::operator=(KF_CString&& other) noexcept
{
    if (this != &other) {
        delete[] bytes;
        bytes = other.bytes;
        length = other.length;
        encoding = other.encoding;
        other.bytes = nullptr;
        other.length = 0;
    }
    return *this;
}

KF_CString::~KF_CString()
{
    delete[] bytes;
}

void KF_CString::Release()
{
    delete[] bytes;
    bytes = nullptr;
    length = 0;
}
