// The host's file system as an add-on sees it. Every call is served by the host (through the
// host table), so that the host can place special folders and inject failures in tests.
#pragma once

#include "HostTypes.hpp"
#include "HostUniString.hpp"

namespace IO {

// Host file errors (compared as exact 32-bit values by the framework), named as the table header's
// list names them: IO::FileNotFound is KF_IOERR_FILENOTFOUND.
#define KFSDK_ERROR_API(name, sdkName)
#define KFSDK_ERROR_IO(name, sdkName) constexpr HostErrCode sdkName = KF_IOERR_##name;
#define KFSDK_ERROR(family, name, value, sdkName, meaning) KFSDK_ERROR_##family(name, sdkName)
KF_HOST_ERRORS(KFSDK_ERROR)
#undef KFSDK_ERROR
#undef KFSDK_ERROR_IO
#undef KFSDK_ERROR_API

// One name of a path (no "/" inside).
class Name {
public:
    Name() = default;
    explicit Name(const Base::UniString& text) : text_(text) {}
    const Base::UniString& ToUniString() const { return text_; }
    bool IsEmpty() const { return text_.IsEmpty(); }

private:
    Base::UniString text_;
};

// A location: one absolute path, "/" between names.
class Location {
public:
    Location() = default;
    explicit Location(const Base::UniString& path) : path_(path) {}

    // The host's own path form; fails on an empty location.
    HostErrCode ToPath(Base::UniString* result) const;
    // UTF-8 POSIX path into buffer (terminated). When bufferSize is too small the call fails with
    // Error and *needed (when given) tells the size to retry with.
    HostErrCode ToUTF8POSIXPath(char* buffer, UInt32 bufferSize, UInt32* needed = nullptr) const;

    HostErrCode AppendToLocal(const Name& name);
    // Cuts the last name off; the location becomes its parent folder.
    HostErrCode MoveLastLocalName(Name* lastName = nullptr);
    HostErrCode GetLastLocalName(Name* lastName) const;
    bool IsEmpty() const { return path_.IsEmpty(); }

    bool operator==(const Location& other) const { return path_ == other.path_; }

private:
    Base::UniString path_;
};

// A folder opened through the host.
class Folder {
public:
    enum OnNotFound { Fail = 0, Create = 1 };
    enum EntryType { File = 0, Directory = 1, Link = 2, UnknownEntry = 3 };
    enum DataSafety { NormalSafety = 0 };
    enum AccessDeniedTreatment { ReturnErrorOnDenied = 2 };

    // Called for every entry; answering false ends the enumeration.
    using EnumCallback = bool (*)(const Folder& folder, const Name& entryName, bool isFolder, void* userData);

    Folder(const Location& location, OnNotFound onNotFound = Fail);
    HostErrCode GetStatus() const { return status_; }
    HostErrCode GetLocation(Location* result) const;
    HostErrCode GetType(const Name& entryName, EntryType* type) const;
    HostErrCode Delete(const Name& entryName, DataSafety safety = NormalSafety,
                       AccessDeniedTreatment treatment = ReturnErrorOnDenied);
    // Entries in name order; an error from the host or a callback answering false is reported.
    HostErrCode Enumerate(EnumCallback callback, void* userData) const;

private:
    Location location_;
    HostErrCode status_ = NoError;
};

// A file opened through the host. Owns a host file handle while open.
class File {
public:
    // LeaveToOpen asks nothing of the host before Open (for CreateNewMode, which must find no entry).
    enum OnNotFound { Fail = 0, Create = 1, LeaveToOpen = 2 };
    // Only regular files open. CreateNewMode makes a new file for writing and fails when any entry,
    // even a symlink, is at the location: a file so made is the caller's own.
    enum OpenMode {
        ReadMode = KF_FILEMODE_READ,
        ReadWriteMode = KF_FILEMODE_READWRITE,
        WriteEmptyMode = KF_FILEMODE_WRITEEMPTY,
        ReadWriteEmptyMode = KF_FILEMODE_READWRITEEMPTY,
        AppendMode = KF_FILEMODE_APPEND,
        CreateNewMode = KF_FILEMODE_CREATENEW
    };
    enum AccessDeniedTreatment { ReturnErrorOnDenied = 2 };

    File(const Location& location, OnNotFound onNotFound = Fail);
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    HostErrCode GetStatus() const { return status_; }
    HostErrCode Open(OpenMode mode, AccessDeniedTreatment treatment = ReturnErrorOnDenied);
    HostErrCode Close();
    bool IsOpen() const { return handle_ != 0; }
    HostErrCode GetDataLength(UInt32* length) const;
    HostErrCode GetDataLength(UInt64* length) const;
    HostErrCode SeekTo(UInt64 position);
    HostErrCode ReadBin(char* buffer, UInt64 count, UInt64* read = nullptr);
    HostErrCode WriteBin(const char* data, UInt64 count, UInt64* written = nullptr);
    // Clears the error state after a failed operation so that the file can be closed cleanly.
    void ResetErrorStatus();

private:
    Location location_;
    HostErrCode status_ = NoError;
    Int64 handle_ = 0; // the host's open-file handle, 0 when closed
};

class FileSystem {
public:
    enum SpecialFolderID : Int32 {
        UserDocuments = 1,
        TemporaryFolder = 7,
        ApplicationFolder = 10,
        FrameworkFolder = 13 // where the maker's add-ons keep settings and communication files
    };
    static HostErrCode GetSpecialLocation(Int32 folderID, Location* result);
    // Moves source over target in one step (both in the same folder): target is either the old
    // file or the new one, never half of either. Used to replace files atomically.
    static HostErrCode MoveOver(const Location& source, const Location& target);
};

} // namespace IO
