// DetectBOM and IsUTF8 over arbitrary bytes; IsUTF8 is checked against the platform's own UTF-8
// validation, at every level of vector instructions and with none.
#include "../../tests/text/TextTestSupport.hpp"
#include "FuzzSupport.hpp"

#include <unicode/ustring.h>

#include <algorithm>
#include <vector>

namespace {

bool PlatformSaysUtf8(const std::uint8_t* bytes, std::size_t size)
{
    UErrorCode status = U_ZERO_ERROR;
    int32_t needed = 0;
    u_strFromUTF8(nullptr, 0, &needed, reinterpret_cast<const char*>(bytes), int32_t(size), &status);
    return U_SUCCESS(status) || status == U_BUFFER_OVERFLOW_ERROR || status == U_STRING_NOT_TERMINATED_WARNING;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        textfuzz::Check(KF_String::IsUTF8("", 0u, false) && !KF_String::IsUTF8("", 0u, true), "the empty text");
        return 0;
    }
    const std::vector<std::uint8_t> bytes(data, data + size);
    const char* const text = reinterpret_cast<const char*>(bytes.data());
    const unsigned int n = unsigned(size);

    KF_String::Encoding enc = KF_String::Encoding(77);
    const unsigned int bom = KF_String::DetectBOM(bytes.data(), n, enc);
    textfuzz::Check(bom <= n && bom <= 5, "a mark lies inside the data");
    textfuzz::Check((bom == 0) == (enc == KF_String::Encoding(77)), "the encoding is set exactly when a mark is found");

    const bool platform = PlatformSaysUtf8(bytes.data(), size);
    const bool multi = std::any_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b >= 0x80; });
    for (const kftest::Route& route : kftest::kRoutes) {
        const kftest::RouteScope scope(route);
        textfuzz::Check(KF_String::IsUTF8(text, n, false) == platform, "IsUTF8 agrees with the platform");
        textfuzz::Check(KF_String::IsUTF8(text, n, true) == (platform && multi), "multibyte requirement");
    }

    // The terminated form reads up to the first zero byte.
    std::vector<std::uint8_t> terminated(bytes);
    terminated.push_back(0);
    std::size_t const upToZero = std::size_t(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin());
    textfuzz::Check(KF_String::IsUTF8(reinterpret_cast<const char*>(terminated.data()), false) ==
                        KF_String::IsUTF8(text, unsigned(upToZero), false),
                    "terminated and sized forms agree");
    return 0;
}
