// The platform's converters behind the framework's encodings: the one place that names them.
#include "KF_TextCodec.hpp"

#include "HostTextEncoding.hpp"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <array>

namespace kf::detail::text {

namespace {

const char* ConverterName(Codec codec)
{
    switch (codec) {
    case Codec::UTF7:
        return "UTF-7";
    case Codec::UTF8:
        return "UTF-8";
    case Codec::UTF16LE:
        return "UTF-16LE";
    case Codec::UTF16BE:
        return "UTF-16BE";
    case Codec::UTF32LE:
        return "UTF-32LE";
    case Codec::UTF32BE:
        return "UTF-32BE";
    case Codec::ASCII:
        return "US-ASCII";
    case Codec::MacRoman:
        return "macintosh";
    case Codec::WinLatin1:
        return "windows-1252";
    case Codec::ISOLatin1:
        return "ISO-8859-1";
    }
    return "UTF-8";
}

constexpr std::size_t kCodecCount = 10;

// Opening a converter costs far more than a short conversion, so each thread keeps its own.
struct ConverterCache {
    std::array<UConverter*, kCodecCount> open{};
    ~ConverterCache()
    {
        for (UConverter* c : open) {
            if (c != nullptr) {
                ucnv_close(c);
            }
        }
    }
    UConverter* Get(Codec codec)
    {
        UConverter*& slot = open[std::size_t(codec)];
        if (slot == nullptr) {
            UErrorCode status = U_ZERO_ERROR;
            slot = ucnv_open(ConverterName(codec), &status);
            if (U_FAILURE(status)) {
                slot = nullptr;
                return nullptr;
            }
            static constexpr char16_t kQuestion[] = u"?";
            status = U_ZERO_ERROR;
            ucnv_setSubstString(slot, kQuestion, 1, &status);
        }
        ucnv_reset(slot);
        return slot;
    }
};

// The stock callbacks quietly drop "default ignorable" characters (soft hyphen, zero-width space,
// ...) that the target cannot hold; the framework's rule is one "?" (or a failure) for every
// character that cannot be held, so these callbacks make no exceptions.
void U_CALLCONV SubstituteEveryCharacter(const void* /*context*/, UConverterFromUnicodeArgs* args,
                                         const UChar* /*units*/, int32_t /*length*/, UChar32 /*codePoint*/,
                                         UConverterCallbackReason reason, UErrorCode* err)
{
    if (reason == UCNV_UNASSIGNED || reason == UCNV_ILLEGAL || reason == UCNV_IRREGULAR) {
        *err = U_ZERO_ERROR;
        ucnv_cbFromUWriteSub(args, 0, err);
    }
}

void U_CALLCONV StopAtEveryCharacter(const void* /*context*/, UConverterFromUnicodeArgs* /*args*/,
                                     const UChar* /*units*/, int32_t /*length*/, UChar32 /*codePoint*/,
                                     UConverterCallbackReason /*reason*/, UErrorCode* /*err*/)
{
    // Leaving the error set ends the conversion.
}

void U_CALLCONV StopAtEveryByte(const void* /*context*/, UConverterToUnicodeArgs* /*args*/, const char* /*bytes*/,
                                int32_t /*length*/, UConverterCallbackReason /*reason*/, UErrorCode* /*err*/)
{}

UConverter* ConverterFor(Codec codec)
{
    thread_local ConverterCache cache;
    return cache.Get(codec);
}

// Runs one conversion into out, doubling out while the converter finds it full; out is cut to what
// was written. convert(target, targetLimit, status) is one ICU call that moves target on.
template <typename Buffer, typename Convert>
bool ConvertGrowing(Buffer& out, Convert convert)
{
    UErrorCode status = U_ZERO_ERROR;
    std::size_t written = 0;
    for (;;) {
        auto* target = out.data() + written;
        status = U_ZERO_ERROR;
        convert(target, out.data() + out.size(), status);
        written = std::size_t(target - out.data());
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            out.resize(out.size() * 2);
            continue;
        }
        break;
    }
    out.resize(written);
    return U_SUCCESS(status);
}

} // namespace

Codec Resolve(KF_String::Encoding enc)
{
    switch (enc) {
    case KF_String::Enc_UTF7:
        return Codec::UTF7;
    case KF_String::Enc_UTF8:
        return Codec::UTF8;
    case KF_String::Enc_UTF16LE:
        return Codec::UTF16LE;
    case KF_String::Enc_UTF16BE:
        return Codec::UTF16BE;
    case KF_String::Enc_UTF32LE:
        return Codec::UTF32LE;
    case KF_String::Enc_UTF32BE:
        return Codec::UTF32BE;
    case KF_String::Enc_ASCII:
        return Codec::ASCII;
    case KF_String::Enc_MacRoman:
        return Codec::MacRoman;
    case KF_String::Enc_WinLatin1:
        return Codec::WinLatin1;
    case KF_String::Enc_ISOLatin1:
        return Codec::ISOLatin1;
    default:
        break;
    }
    // Read at every call: the host may switch it at load.
    return Base::GetApplicationTextEncoding() == Base::AppTextEncoding::MacRoman ? Codec::MacRoman : Codec::UTF8;
}

bool PlatformDecode(Codec codec, const char* src, std::size_t bytes, std::vector<char16_t>& out)
{
    out.clear();
    UConverter* const cnv = ConverterFor(codec);
    if (cnv == nullptr) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(cnv, StopAtEveryByte, nullptr, nullptr, nullptr, &status);
    // No supported encoding yields more UTF-16 units than it has bytes; grow anyway if one does.
    out.resize(bytes + 1);
    const char* source = src;
    const char* const sourceEnd = src + bytes;
    return ConvertGrowing(out, [&](UChar*& target, const UChar* limit, UErrorCode& err) {
        ucnv_toUnicode(cnv, &target, limit, &source, sourceEnd, nullptr, true, &err);
    });
}

bool PlatformEncode(Codec codec, const char16_t* units, std::size_t count, bool lossy, std::string& out)
{
    out.clear();
    UConverter* const cnv = ConverterFor(codec);
    if (cnv == nullptr) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setFromUCallBack(cnv, lossy ? SubstituteEveryCharacter : StopAtEveryCharacter, nullptr, nullptr, nullptr,
                          &status);
    out.resize(count * std::size_t(ucnv_getMaxCharSize(cnv)) + 16);
    const UChar* source = units;
    const UChar* const sourceEnd = units + count;
    return ConvertGrowing(out, [&](char*& target, const char* limit, UErrorCode& err) {
        ucnv_fromUnicode(cnv, &target, limit, &source, sourceEnd, nullptr, true, &err);
    });
}

} // namespace kf::detail::text
