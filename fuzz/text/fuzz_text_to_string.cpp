// TextToString over arbitrary file contents, with and without detection: the same string and the
// same detected encoding whichever conversion path runs.
#include "../../tests/text/TextTestSupport.hpp"
#include "FuzzSupport.hpp"

#include "HostTextEncoding.hpp"

#include <vector>

namespace {

struct Outcome {
    KF_String::Encoding found;
    bool null;
    std::vector<unsigned short> units;
    bool operator==(const Outcome&) const = default;
};

Outcome Decode(const kftest::Route& route, const std::uint8_t* bytes, unsigned int size, bool detect,
               KF_String::Encoding fallback)
{
    const kftest::RouteScope scope(route);
    KF_String s;
    KF_String::Encoding const found =
        KF_String::TextToString(s, reinterpret_cast<const char*>(bytes), size, detect, fallback);
    return {found, s.IsNull(), std::vector<unsigned short>(s.Units(), s.Units() + s.GetLength())};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    textfuzz::Input in(data, size);
    std::uint8_t const flags = in.Byte();
    KF_String::Encoding const fallback = in.Encoding();
    const bool detect = (flags & 1) != 0;
    Base::SetApplicationTextEncoding((flags & 2) != 0 ? Base::AppTextEncoding::MacRoman : Base::AppTextEncoding::UTF8);
    // An exact-size copy, so that any read past the text is caught.
    const std::vector<std::uint8_t> text(in.Rest(), in.Rest() + in.RestSize());
    const Outcome fast = Decode(kftest::kRoutes[0], text.data(), unsigned(text.size()), detect, fallback);
    textfuzz::Check(fast == Decode(kftest::kPlatform, text.data(), unsigned(text.size()), detect, fallback),
                    "fast vs platform");
    if (!detect) {
        KF_String::Encoding bomEncoding = KF_String::Enc_None;
        const bool hasBom = KF_String::DetectBOM(text.data(), unsigned(text.size()), bomEncoding) > 0;
        textfuzz::Check(fast.found == (hasBom ? bomEncoding : fallback), "without detection: the mark or the fallback");
    }
    Base::SetApplicationTextEncoding(Base::AppTextEncoding::UTF8);
    return 0;
}
