// ConvertChangeEncoding between every pair of encodings, both lossy settings, with and without
// terminators and destinations of every interesting size. The fast paths must give exactly what
// the platform converters give, and a measured size must be the size a conversion then uses.
#include "FuzzSupport.hpp"
#include "KF_TextCodec.hpp"

#include "HostTextEncoding.hpp"

#include <string>
#include <vector>

namespace {

struct Result {
    long code;
    std::string bytes;
    bool operator==(const Result&) const = default;
};

using kf::detail::text::VectorLevel;

Result Run(bool fast, VectorLevel vector, KF_String::Encoding from, const std::vector<char>& src, long srcBytes,
           KF_String::Encoding to, long room, bool terminate, bool lossy)
{
    kf::detail::text::SetFastPathsEnabled(fast);
    kf::detail::text::SetVectorLimit(vector);
    std::vector<char> dst(room > 0 ? std::size_t(room) : 1, '\x5A');
    const long code = KF_String::ConvertChangeEncoding(from, src.data(), srcBytes, to, room < 0 ? nullptr : dst.data(),
                                                       room, terminate, lossy);
    kf::detail::text::SetFastPathsEnabled(true);
    kf::detail::text::SetVectorLimit(VectorLevel::AVX2);
    // Only a successful conversion defines the destination's bytes.
    return {code, room >= 0 && code > 0 ? std::string(dst.data(), std::size_t(code)) : std::string()};
}

} // namespace

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

    std::vector<char> src(in.Rest(), in.Rest() + in.RestSize());
    if ((flags & 32) != 0 && src.size() >= 2) {
        // The rest taken as UTF-16 units and made into UTF-8 by the platform path: long valid
        // UTF-8 of any characters, which random bytes seldom are, for the vector conversions.
        from = KF_String::Enc_UTF8;
        const Result utf8 =
            Run(false, VectorLevel::None, KF_String::Enc_UTF16LE, src, long(src.size() & ~std::size_t(1)),
                KF_String::Enc_UTF8, long(src.size()) * 3, false, true);
        src.assign(utf8.bytes.begin(), utf8.bytes.end());
    }
    const long srcBytes = terminated ? ((flags & 16) != 0 ? -1 : 0) : long(src.size());
    src.insert(src.end(), 8, '\0'); // a whole zero unit of every size, wherever the units fall

    constexpr VectorLevel kBest = VectorLevel::AVX2;
    const Result measured = Run(true, kBest, from, src, srcBytes, to, -1, terminate, lossy);
    textfuzz::Check(measured == Run(false, kBest, from, src, srcBytes, to, -1, terminate, lossy),
                    "measure: fast vs platform");
    for (VectorLevel level : {VectorLevel::SSSE3, VectorLevel::None}) {
        textfuzz::Check(measured == Run(true, level, from, src, srcBytes, to, -1, terminate, lossy),
                        "measure: every vector level alike");
    }
    const long exact = measured.code > 0 ? measured.code : 16;
    for (long room : {exact, exact - 1, long(0), exact + 7}) {
        const Result fast = Run(true, kBest, from, src, srcBytes, to, room, terminate, lossy);
        textfuzz::Check(fast == Run(false, kBest, from, src, srcBytes, to, room, terminate, lossy),
                        "convert: fast vs platform");
        for (VectorLevel level : {VectorLevel::SSSE3, VectorLevel::None}) {
            textfuzz::Check(fast == Run(true, level, from, src, srcBytes, to, room, terminate, lossy),
                            "convert: every vector level alike");
        }
        if (measured.code >= 0 && room >= measured.code) {
            textfuzz::Check(fast.code == measured.code, "a measured size is the size used");
        }
        if (measured.code >= 0 && room < measured.code) {
            textfuzz::Check(fast.code == -2, "too small a destination gives -2");
        }
    }
    Base::SetApplicationTextEncoding(Base::AppTextEncoding::UTF8);
    return 0;
}
