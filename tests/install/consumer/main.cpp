// Converts UTF-8 text to the framework's string and back, through the installed package only: the
// conversions themselves are the text tests'; here the package must compile, link and run.
#include <KF_Framework.hpp>

#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

int sFailures = 0;

void Check(bool ok, const char* what)
{
    if (!ok) {
        std::fprintf(stderr, "kf_consumer: %s\n", what);
        ++sFailures;
    }
}

} // namespace

int main()
{
    // Latin, Greek, CJK and one character outside the BMP (a surrogate pair in UTF-16).
    static const char kText[] = "Gr\xC3\xBC\xC3\x9F"
                                "e, \xCE\x91\xCE\xB8\xCE\xAE\xCE\xBD\xCE\xB1, "
                                "\xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x98\x80";
    static const unsigned short kUnits[] = {'G',    'r',    0x00FC, 0x00DF, 'e',    ',',    ' ', 0x0391, 0x03B8, 0x03AE,
                                            0x03BD, 0x03B1, ',',    ' ',    0x6771, 0x4EAC, ' ', 0xD83D, 0xDE00};
    constexpr unsigned int kCount = std::size(kUnits);

    const KF_String s(kText, KF_String::Enc_UTF8);
    Check(s.GetLength() == kCount, "wrong number of UTF-16 units");
    for (unsigned int i = 0; i < kCount; ++i) {
        Check(s.UCharAt(i) == kUnits[i], "wrong UTF-16 unit");
    }

    const KF_CString back = s.ToCStr(KF_String::Enc_UTF8);
    Check(back.bytes != nullptr && back.length == sizeof kText && std::memcmp(back.bytes, kText, sizeof kText) == 0,
          "UTF-8 round trip differs");

    if (sFailures == 0) {
        std::printf("kf_consumer: UTF-8 -> KF_String -> UTF-8 round trip ok (%u units)\n", kCount);
    }
    return sFailures == 0 ? 0 : 1;
}
