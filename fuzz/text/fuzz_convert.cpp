// ConvertChangeEncoding between every pair of encodings, both lossy settings, with and without
// terminators and destinations of every interesting size. The fast paths must give exactly what
// the platform converters give, and a measured size must be the size a conversion then uses.
#include "../../tests/text/TextTestSupport.hpp"
#include "FuzzSupport.hpp"

#include <string>
#include <vector>

using kftest::ConvertOnce;
using kftest::kPlatform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    textfuzz::Input in(data, size);
    KF_String::Encoding from = in.Encoding();
    KF_String::Encoding const to = in.Encoding();
    std::uint8_t const flags = in.Byte();
    const bool lossy = (flags & 1) != 0;
    const bool terminate = (flags & 2) != 0;
    const bool terminated = (flags & 4) != 0; // pass 0 bytes: the source is read to its terminator
    Base::SetApplicationTextEncoding((flags & 8) != 0 ? Base::AppTextEncoding::MacRoman : Base::AppTextEncoding::UTF8);

    std::string src(reinterpret_cast<const char*>(in.Rest()), in.RestSize());
    if ((flags & 32) != 0 && src.size() >= 2) {
        // The rest taken as UTF-16 units and made into UTF-8 by the platform path: long valid
        // UTF-8 of any characters, which random bytes seldom are, for the vector conversions.
        from = KF_String::Enc_UTF8;
        src = ConvertOnce(kPlatform, KF_String::Enc_UTF16LE, src, long(src.size() & ~std::size_t(1)),
                          KF_String::Enc_UTF8, long(src.size()) * 3, false, true)
                  .bytes;
    }
    const long srcBytes = terminated ? ((flags & 16) != 0 ? -1 : 0) : long(src.size());
    src.append(8, '\0'); // a whole zero unit of every size, wherever the units fall
    const std::vector<char> exactCopy(src.begin(), src.end()); // a read past the end is caught
    std::string_view const bytes(exactCopy.data(), exactCopy.size());

    for (const kftest::Route& route : kftest::kRoutes) {
        std::string const why = kftest::Disagreement(route, from, bytes, srcBytes, to, terminate, lossy);
        textfuzz::Check(why.empty(), why.c_str());
    }
    Base::SetApplicationTextEncoding(Base::AppTextEncoding::UTF8);
    return 0;
}
