// Opening folders, documents and web addresses with the system's default application.
#include "KF/KF_General.hpp"

#include "KF_GeneralDetail.hpp"

#include <cstring>

namespace {

std::string_view Bytes(const KF_CString& text)
{
    if (text.bytes == nullptr) {
        return {};
    }
    // The converted length may count the terminator.
    return std::string_view(text.bytes, ::strnlen(text.bytes, text.length));
}

// Paths written with ":" between names are opened with "/" in their place. What the opener
// then does is not reported.
void KF_General_LaunchDoc(const KF_Location& location)
{
    const KF_String path = location.path.Replace(':', '/');
    const KF_CString bytes = path.ToCStr(KF_String::Enc_System);
    kf::detail::KF_General_SystemOpen(Bytes(bytes));
}

// The file must exist; it is probed, never opened.
bool FileExists(const KF_Location& file)
{
    IO::File const probe(static_cast<IO::Location>(file), IO::File::Fail);
    return probe.GetStatus() == NoError;
}

} // namespace

bool KF_General::OpenFolderByLoc(KF_Location& folder)
{
    if (!folder.IsFolder()) {
        return false;
    }
    KF_General_LaunchDoc(KF_Location(folder.GetPOSIXPath()));
    return true;
}

bool KF_General::LaunchDocByLoc(const KF_Location& file)
{
    if (!FileExists(file)) {
        return false;
    }
    KF_General_LaunchDoc(KF_Location(file.GetPOSIXPath()));
    return true;
}

bool KF_General::LaunchDocByPath(const KF_String& path)
{
    const KF_Location file(path);
    if (!FileExists(file)) {
        return false;
    }
    KF_General_LaunchDoc(file);
    return true;
}

bool KF_General::LaunchURLByPath(const KF_String& address)
{
    const KF_CString bytes = address.ToCStr(KF_String::Enc_System);
    if (bytes.bytes == nullptr) {
        return false;
    }
    // The address goes over with a length byte, as the interface has it: 255 bytes at most.
    std::string_view const text = Bytes(bytes);
    return kf::detail::KF_General_SystemOpen(text.substr(0, 255));
}
