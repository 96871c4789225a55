// Paths to and from the host's locations.
#include "KF/KF_Location.hpp"

#include "HostAPI.hpp"

#include <vector>

namespace {

// Drops exactly one trailing "/" (a path ending in two keeps one).
void DropOneTrailingSlash(KF_String& path)
{
    const unsigned int len = path.GetLength();
    if (len > 0 && path.UCharAt(len - 1) == u'/') {
        path = path.Substring(0, len - 1);
    }
}

IO::Location ToHost(const KF_String& path)
{
    if (path.IsNull()) {
        return IO::Location(Base::UniString());
    }
    return IO::Location(Base::UniString(path.Units(), path.GetLength()));
}

} // namespace

KF_Location::KF_Location(const KF_String& fullPath) : path(fullPath)
{
    DropOneTrailingSlash(path);
}

void KF_Location::Set(const IO::Location& location)
{
    Base::UniString hostPath;
    if (location.ToPath(&hostPath) != NoError) {
        path.SetToNullString();
        return;
    }
    // Built from the units so that the empty host path still gives a buffer (""), never null.
    KF_String copy("", KF_String::Enc_System);
    if (hostPath.GetLength() > 0) {
        copy = KF_String(hostPath.ToUStr(), static_cast<unsigned int>(hostPath.GetLength()));
    }
    path = copy;
    DropOneTrailingSlash(path);
}

KF_Location::operator IO::Location() const
{
    return ToHost(path);
}

KF_Location::operator IO::Location()
{
    return ToHost(path);
}

KF_String KF_Location::GetPOSIXPath() const
{
    IO::Location const host = ToHost(path);
    std::vector<char> buffer(256);
    UInt32 needed = 0;
    HostErrCode err = host.ToUTF8POSIXPath(buffer.data(), UInt32(buffer.size()), &needed);
    if (err != NoError && needed > buffer.size()) {
        buffer.resize(needed);
        err = host.ToUTF8POSIXPath(buffer.data(), UInt32(buffer.size()), &needed);
    }
    if (err != NoError) {
        return KF_String("", KF_String::Enc_System);
    }
    buffer.back() = '\0';
    // Enc_System on purpose: the callers hand the text back to byte-oriented host calls.
    return KF_String(buffer.data(), KF_String::Enc_System);
}

bool KF_Location::IsFolder() const
{
    const KF_String full(path);
    if (full.IsNull()) {
        return false;
    }
    const unsigned int slash = full.LastIndexOf('/');
    KF_String lastName;
    KF_String parent;
    if (slash == KF_String::NotFound) {
        lastName = full;
        parent = KF_String("", KF_String::Enc_System);
    } else {
        lastName = full.Substring(slash + 1);
        parent = full.Substring(0, slash);
    }
    if (parent.IsNullOrEmpty()) {
        return false;
    }
    Base::UniString nameText;
    if (!lastName.IsNullOrEmpty()) {
        nameText = Base::UniString(lastName.Units(), lastName.GetLength());
    }
    IO::Folder const folder(ToHost(parent), IO::Folder::Fail);
    if (folder.GetStatus() != NoError) {
        return false;
    }
    IO::Folder::EntryType type = IO::Folder::UnknownEntry;
    if (folder.GetType(IO::Name(nameText), &type) != NoError) {
        return false;
    }
    return type == IO::Folder::Directory;
}

KF_Location KF_Location::AddOnLocation(bool parentOnly)
{
    KF_Location result;
    IO::Location own;
    if (HostAPI_GetOwnLocation(&own) == NoError) {
        result.Set(own);
    }
    if (!parentOnly || result.path.IsNull()) {
        return result;
    }
    const unsigned int slash = result.path.LastIndexOf('/');
    if (slash == KF_String::NotFound) {
        result.path = KF_String("", KF_String::Enc_System);
    } else {
        result.path = result.path.Substring(0, slash);
    }
    return result;
}
