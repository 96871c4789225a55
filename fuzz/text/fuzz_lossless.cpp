// The lossless byte <-> string mapping of the settings store and the versions file: bytes read in
// UTF-8 are what the tests' own table of well-formed sequences says, every byte read comes back
// when written, and units that code made are never written as bytes that read back as another
// character.
#include "../../tests/text/TextTestSupport.hpp"
#include "../../tests/text/Utf8Reference.hpp"
#include "FuzzSupport.hpp"
#include "KF_TextLossless.hpp"

#include "HostTextEncoding.hpp"

#include <string>

namespace {

struct Served {
    KF_String::Encoding enc;
    Base::AppTextEncoding app;
};

constexpr Served kServed[] = {
    {KF_String::Enc_UTF8, Base::AppTextEncoding::UTF8},       {KF_String::Enc_System, Base::AppTextEncoding::UTF8},
    {KF_String::Enc_System, Base::AppTextEncoding::MacRoman}, {KF_String::Enc_ASCII, Base::AppTextEncoding::UTF8},
    {KF_String::Enc_WinLatin1, Base::AppTextEncoding::UTF8},  {KF_String::Enc_ISOLatin1, Base::AppTextEncoding::UTF8},
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    textfuzz::Input in(data, size);
    const Served served = kServed[in.Byte() % (sizeof kServed / sizeof kServed[0])];
    Base::SetApplicationTextEncoding(served.app);
    const bool utf8 = served.enc == KF_String::Enc_UTF8 ||
                      (served.enc == KF_String::Enc_System && served.app == Base::AppTextEncoding::UTF8);
    std::string_view const bytes(reinterpret_cast<const char*>(in.Rest()), in.RestSize());

    const KF_String read = kf::detail::KF_Text_BytesToString(bytes, served.enc);
    if (utf8) {
        textfuzz::Check(kftest::U(read) == kftest::utf8ref::DecodeEscaping(bytes), "read as the UTF-8 table says");
    }
    textfuzz::Check(kf::detail::KF_Text_StringToBytes(read, served.enc) == bytes, "every byte read comes back");

    // The same bytes taken as units that code put into a string.
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        units += char16_t(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    std::string const written = kf::detail::KF_Text_StringToBytes(kftest::FromU16(units), served.enc);
    const std::u16string back = kftest::U(kf::detail::KF_Text_BytesToString(written, served.enc));
    textfuzz::Check(kf::detail::KF_Text_StringToBytes(kftest::FromU16(back), served.enc) == written,
                    "what was written is written again unchanged");
    if (utf8) {
        // Unit for unit: each comes back as itself or as the "?" it was written as.
        textfuzz::Check(back.size() == units.size(), "one unit back for each unit written");
        for (std::size_t i = 0; i < units.size() && i < back.size(); ++i) {
            textfuzz::Check(back[i] == units[i] || back[i] == u'?', "nothing reads back as another character");
        }
    }
    Base::SetApplicationTextEncoding(Base::AppTextEncoding::UTF8);
    return 0;
}
