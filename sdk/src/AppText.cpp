// 8-bit texts the host interface exchanges in the application text encoding.
#include "HostTextEncoding.hpp"
#include "SdkDetail.hpp"

#include <unicode/ucnv.h>

#include <memory>
#include <vector>

namespace kfsdk::detail {
namespace {

struct ConverterCloser {
    void operator()(UConverter* c) const { ucnv_close(c); }
};

// One Mac OS Roman converter for the process: conversions are synchronous and on the main thread.
UConverter* MacRoman()
{
    static std::unique_ptr<UConverter, ConverterCloser> converter([] {
        UErrorCode status = U_ZERO_ERROR;
        UConverter* c = ucnv_open("macintosh", &status);
        return U_SUCCESS(status) ? c : nullptr;
    }());
    return converter.get();
}

} // namespace

std::string ToAppBytes(const Base::UniString& text)
{
    if (Base::GetApplicationTextEncoding() == Base::AppTextEncoding::UTF8)
        return text.ToUTF8();
    UConverter* conv = MacRoman();
    if (!conv || text.IsEmpty())
        return {};
    std::string out(text.GetLength() + 1, '\0');
    UErrorCode status = U_ZERO_ERROR;
    const auto* units = reinterpret_cast<const UChar*>(text.ToUStr());
    const int32_t n = ucnv_fromUChars(conv, out.data(), int32_t(out.size()), units, int32_t(text.GetLength()), &status);
    if (U_FAILURE(status))
        return {};
    out.resize(std::size_t(n));
    return out;
}

Base::UniString FromAppBytes(std::string_view bytes)
{
    if (Base::GetApplicationTextEncoding() == Base::AppTextEncoding::UTF8)
        return Base::UniString::FromUTF8(bytes);
    UConverter* conv = MacRoman();
    if (!conv || bytes.empty())
        return Base::UniString();
    std::vector<UChar> out(bytes.size() + 1);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t n =
        ucnv_toUChars(conv, out.data(), int32_t(out.size()), bytes.data(), int32_t(bytes.size()), &status);
    if (U_FAILURE(status))
        return Base::UniString();
    return Base::UniString(reinterpret_cast<const Base::uchar_t*>(out.data()), USize(n));
}

void CopyTerminated(const std::string& bytes, char* buffer, std::size_t size)
{
    if (!buffer || size == 0)
        return;
    std::size_t count = std::min(bytes.size(), size - 1);
    if (count < bytes.size() && Base::GetApplicationTextEncoding() == Base::AppTextEncoding::UTF8)
        while (count > 0 && (static_cast<unsigned char>(bytes[count]) & 0xC0) == 0x80)
            --count; // back to the start of the cut sequence
    std::copy_n(bytes.data(), count, buffer);
    buffer[count] = '\0';
}

} // namespace kfsdk::detail
