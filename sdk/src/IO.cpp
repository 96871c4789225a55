// IO:: over the host's file system.
#include "IO.hpp"

#include "SdkDetail.hpp"
#include "kfsdk/PathText.hpp"

#include <algorithm>
#include <cstring>

namespace IO {

using kfsdk::detail::Length;
using kfsdk::detail::Units;

namespace {

constexpr Base::uchar_t kSlash = '/';

// Position of the last "/" or -1.
long LastSlash(const Base::UniString& path)
{
    for (long i = long(path.GetLength()) - 1; i >= 0; --i)
        if (path[USize(i)] == kSlash)
            return i;
    return -1;
}

Base::UniString Child(const Base::UniString& folder, const Base::UniString& name)
{
    Base::UniString path = folder;
    if (path.IsEmpty() || path[path.GetLength() - 1] != kSlash)
        path.Append(kSlash);
    path.Append(name);
    return path;
}

} // namespace

HostErrCode Location::ToPath(Base::UniString* result) const
{
    if (!result)
        return APIERR_BADPARS;
    if (path_.IsEmpty())
        return BadLocation;
    *result = path_;
    return NoError;
}

HostErrCode Location::ToUTF8POSIXPath(char* buffer, UInt32 bufferSize, UInt32* needed) const
{
    if (path_.IsEmpty())
        return BadLocation;
    // The host's paths keep bytes that are not UTF-8 as units of their own: give them back.
    const std::string utf8 = kfsdk::PathBytes(path_.ToUStr(), path_.GetLength());
    if (needed)
        *needed = UInt32(utf8.size() + 1);
    if (!buffer || bufferSize < utf8.size() + 1)
        return Error;
    std::memcpy(buffer, utf8.c_str(), utf8.size() + 1);
    return NoError;
}

HostErrCode Location::AppendToLocal(const Name& name)
{
    if (path_.IsEmpty() || name.IsEmpty())
        return BadLocation;
    path_ = Child(path_, name.ToUniString());
    return NoError;
}

HostErrCode Location::MoveLastLocalName(Name* lastName)
{
    const long slash = LastSlash(path_);
    if (slash < 0 || USize(slash) + 1 >= path_.GetLength())
        return BadLocation;
    const Base::UniString name(path_.ToUStr() + slash + 1, path_.GetLength() - USize(slash) - 1);
    path_ = slash == 0 ? Base::UniString(path_.ToUStr(), 1) : Base::UniString(path_.ToUStr(), USize(slash));
    if (lastName)
        *lastName = Name(name);
    return NoError;
}

HostErrCode Location::GetLastLocalName(Name* lastName) const
{
    Location copy(*this);
    return copy.MoveLastLocalName(lastName);
}

// ---- Folder ----------------------------------------------------------------------------

Folder::Folder(const Location& location, OnNotFound onNotFound) : location_(location)
{
    Base::UniString path;
    if (location.ToPath(&path) != NoError)
        status_ = BadLocation;
    else
        status_ = KFSDK_CALL(FolderOpen, Units(path), Length(path), onNotFound == Create ? 1 : 0);
}

HostErrCode Folder::GetLocation(Location* result) const
{
    if (!result)
        return APIERR_BADPARS;
    *result = location_;
    return status_;
}

HostErrCode Folder::GetType(const Name& entryName, EntryType* type) const
{
    if (status_ != NoError)
        return status_;
    if (!type || entryName.IsEmpty())
        return APIERR_BADPARS;
    Base::UniString folder;
    location_.ToPath(&folder);
    const Base::UniString path = Child(folder, entryName.ToUniString());
    Int32 hostType = UnknownEntry;
    const HostErrCode err = KFSDK_CALL(GetEntryType, Units(path), Length(path), &hostType);
    if (err == NoError)
        *type = EntryType(hostType);
    return err;
}

HostErrCode Folder::Delete(const Name& entryName, DataSafety, AccessDeniedTreatment)
{
    if (status_ != NoError)
        return status_;
    if (entryName.IsEmpty())
        return APIERR_BADPARS;
    Base::UniString folder;
    location_.ToPath(&folder);
    const Base::UniString path = Child(folder, entryName.ToUniString());
    return KFSDK_CALL(DeleteEntry, Units(path), Length(path));
}

namespace {

struct EnumState {
    const Folder* folder;
    Folder::EnumCallback callback;
    void* userData;
};

// An exception ends the enumeration.
std::int32_t EnumTrampoline(void* data, const KF_UChar* name, std::int32_t length, std::int32_t isFolder) noexcept
{
    return kfsdk::detail::Shield("folder enumeration", std::int32_t(0), [&] {
        auto* state = static_cast<EnumState*>(data);
        const Name entry(Base::UniString(reinterpret_cast<const Base::uchar_t*>(name), USize(length < 0 ? 0 : length)));
        return state->callback(*state->folder, entry, isFolder != 0, state->userData) ? std::int32_t(1)
                                                                                      : std::int32_t(0);
    });
}

} // namespace

HostErrCode Folder::Enumerate(EnumCallback callback, void* userData) const
{
    if (status_ != NoError)
        return status_;
    if (!callback)
        return APIERR_BADPARS;
    Base::UniString path;
    location_.ToPath(&path);
    EnumState state{this, callback, userData};
    return KFSDK_CALL(Enumerate, Units(path), Length(path), &EnumTrampoline, &state);
}

// ---- File ------------------------------------------------------------------------------

File::File(const Location& location, OnNotFound onNotFound) : location_(location)
{
    Base::UniString path;
    if (location.ToPath(&path) != NoError)
        status_ = BadLocation;
    else if (onNotFound != LeaveToOpen)
        status_ = KFSDK_CALL(FileProbe, Units(path), Length(path), onNotFound == Create ? 1 : 0);
}

File::~File()
{
    if (IsOpen())
        Close();
}

HostErrCode File::Open(OpenMode mode, AccessDeniedTreatment)
{
    if (status_ != NoError)
        return status_;
    if (IsOpen())
        Close();
    Base::UniString path;
    location_.ToPath(&path);
    Int64 handle = 0;
    const HostErrCode err = KFSDK_CALL(FileOpen, Units(path), Length(path), Int32(mode), &handle);
    if (err == NoError)
        handle_ = handle;
    return err;
}

HostErrCode File::Close()
{
    if (!IsOpen())
        return NotOpen;
    const Int64 handle = handle_;
    handle_ = 0; // closed whatever the host says: the handle is gone either way
    return KFSDK_CALL(FileClose, handle);
}

HostErrCode File::GetDataLength(UInt64* length) const
{
    if (!IsOpen())
        return NotOpen;
    if (!length)
        return APIERR_BADPARS;
    return KFSDK_CALL(FileGetLength, handle_, length);
}

HostErrCode File::GetDataLength(UInt32* length) const
{
    if (!length)
        return APIERR_BADPARS;
    UInt64 full = 0;
    const HostErrCode err = GetDataLength(&full);
    if (err == NoError)
        *length = UInt32(std::min<UInt64>(full, 0xFFFFFFFFu));
    return err;
}

HostErrCode File::SeekTo(UInt64 position)
{
    if (!IsOpen())
        return NotOpen;
    return KFSDK_CALL(FileSeek, handle_, position);
}

HostErrCode File::ReadBin(char* buffer, UInt64 count, UInt64* read)
{
    if (read)
        *read = 0;
    if (!IsOpen())
        return NotOpen;
    if (!buffer && count > 0)
        return APIERR_BADPARS;
    UInt64 done = 0;
    const HostErrCode err = KFSDK_CALL(FileRead, handle_, buffer, count, &done);
    if (read)
        *read = done;
    return err;
}

HostErrCode File::WriteBin(const char* data, UInt64 count, UInt64* written)
{
    if (written)
        *written = 0;
    if (!IsOpen())
        return NotOpen;
    if (!data && count > 0)
        return APIERR_BADPARS;
    UInt64 done = 0;
    const HostErrCode err = KFSDK_CALL(FileWrite, handle_, data, count, &done);
    if (written)
        *written = done;
    return err;
}

// The host keeps no error state on an open file: after a failed operation the file stays usable
// and closes cleanly, so there is nothing to reset.
void File::ResetErrorStatus() {}

HostErrCode FileSystem::GetSpecialLocation(Int32 folderID, Location* result)
{
    if (!result)
        return APIERR_BADPARS;
    kfsdk::detail::UniOut out;
    const HostErrCode err = KFSDK_CALL(GetSpecialLocation, folderID, out.Out());
    if (err == NoError)
        *result = Location(out.value);
    return err;
}

HostErrCode FileSystem::MoveOver(const Location& source, const Location& target)
{
    Base::UniString from;
    Base::UniString to;
    if (source.ToPath(&from) != NoError || target.ToPath(&to) != NoError)
        return BadLocation;
    return KFSDK_CALL(MoveOver, Units(from), Length(from), Units(to), Length(to));
}

} // namespace IO
