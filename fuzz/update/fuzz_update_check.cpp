// The update check's reading of a downloaded versions file, as the check does it: bytes to text in
// the application's encoding, then the comparison with the running add-on's line. The conversion
// must give back every byte, and the comparison must agree with itself.
#include "KF_VersionsFile.hpp"
#include "KF_TextLossless.hpp"

#include "HostTextEncoding.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    // The first byte picks the application's encoding, the rest is the file.
    Base::SetApplicationTextEncoding((data[0] & 1) != 0 ? Base::AppTextEncoding::MacRoman
                                                        : Base::AppTextEncoding::UTF8);
    std::string_view const bytes(reinterpret_cast<const char*>(data + 1), size - 1);

    const KF_String text = kf::detail::KF_AddonUpdate_CheckText(bytes.data(), bytes.size());
    Check(kf::detail::KF_Text_StringToBytes(text, KF_String::Enc_System) == bytes);

    // Against a fixed line, and against the file's own first line, which matches itself.
    const KF_String fixed("OBT 1.2.0.3 (HV170) 15/03/2013", KF_String::Enc_UTF8);
    KF_List<KF_String> lines;
    text.SplitLines(lines, true, true);
    for (const KF_String& current : {fixed, lines.GetCount() > 0 ? lines[0] : fixed}) {
        bool newer = false;
        KF_String server;
        if (!kf::detail::KF_AddonUpdate_CompareVersions(text, current, newer, server))
            continue;
        Check(!newer || KF_String::Compare(server, 0, KF_String("???"), 0, 0) != 0);
    }
    return 0;
}
