// Table entries of the file system: the real one, with the test hook of FileFaults in front.
#include "TableEntries.hpp"
#include "kfhost/Text.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

namespace kfhost {

std::int32_t FileErrorFromErrno(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
        return KF_IOERR_ACCESSDENIED;
    case ENOENT:
    case ENOTDIR:
        return KF_IOERR_FILENOTFOUND;
    case ENOSPC:
    case EDQUOT:
        return KF_IOERR_DISKFULL;
    default:
        return KF_IOERR_ERROR;
    }
}

namespace detail {
namespace {

namespace fs = std::filesystem;

std::optional<std::int32_t> Fault(KF_HostContext* c, FileOp op, const std::string& path)
{
    return HostOf(c).Faults().Check(op, path);
}

// What a file the host creates may be (less the host's umask): an add-on's umask decides nothing.
constexpr mode_t kNewFileMode = 0644;

struct OpenFile {
    int fd = -1;
    std::string path;
};

// The host's file handles; what is still open when the host goes is closed.
struct OpenFiles : TableEntryState {
    std::map<std::int64_t, OpenFile> files;
    std::int64_t next = 1;
    ~OpenFiles() override
    {
        for (const auto& [handle, file] : files)
            ::close(file.fd);
    }
};

OpenFile* Handle(KF_HostContext* c, std::int64_t handle)
{
    auto& files = HostOf(c).EntryState<OpenFiles>().files;
    const auto it = files.find(handle);
    return it == files.end() ? nullptr : &it->second;
}

// Opens without blocking (a FIFO would block for ever) and keeps the descriptor only for a regular
// file: anything else is refused at once.
int OpenRegular(const std::string& path, int flags, int& error)
{
    const int fd = ::open(path.c_str(), flags | O_NONBLOCK, 0600);
    if (fd < 0) {
        error = errno == ENXIO || errno == ELOOP ? EINVAL : errno;
        return -1;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        error = EINVAL;
        return -1;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

// Flushes a file or folder to the disk; false with errno set when it cannot be opened or synced.
bool SyncPath(const std::string& path, int flags)
{
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    const int error = errno;
    ::close(fd);
    errno = error;
    return synced;
}

} // namespace

namespace entry {

KF_Err GetSpecialLocation(KF_HostContext* c, std::int32_t folderID, const KF_StringOut* out)
{
    fs::path folder;
    std::error_code ec;
    switch (folderID) {
    case 13:
        folder = HostOf(c).Config().frameworkFolder;
        if (folder.empty()) // the host has none (and said why when it started)
            return KF_IOERR_FILENOTFOUND;
        CreateFolders(folder); // a first run finds it in place
        break;
    case 1: {
        const char* home = std::getenv("HOME");
        folder = home ? fs::path(home) / "Documents" : fs::temp_directory_path(ec);
        if (!fs::is_directory(folder, ec) && home)
            folder = home;
        break;
    }
    case 7:
        folder = fs::temp_directory_path(ec);
        break;
    case 10:
        folder = fs::read_symlink("/proc/self/exe", ec).parent_path();
        break;
    default:
        return KF_APIERR_BADPARS;
    }
    if (folder.empty())
        return KF_IOERR_ERROR;
    Emit(out, PathText(folder.lexically_normal().string()));
    return KF_NOERROR;
}

KF_Err FolderOpen(KF_HostContext* c, const KF_UChar* units, std::int32_t length, std::int32_t createIfMissing)
{
    const std::string path = PathOf(units, length);
    if (path.empty())
        return KF_IOERR_BADLOCATION;
    if (const auto code = Fault(c, FileOp::Folder, path))
        return *code;
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0)
        return S_ISDIR(st.st_mode) ? KF_NOERROR : KF_IOERR_NOTAFOLDER;
    if (errno != ENOENT || !createIfMissing)
        return FileErrorFromErrno(errno);
    const std::error_code ec = CreateFolders(path);
    return ec ? FileErrorFromErrno(ec.value()) : KF_NOERROR;
}

KF_Err GetEntryType(KF_HostContext* c, const KF_UChar* units, std::int32_t length, std::int32_t* type)
{
    const std::string path = PathOf(units, length);
    if (path.empty() || !type)
        return KF_IOERR_BADLOCATION;
    if (const auto code = Fault(c, FileOp::Type, path))
        return *code;
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return errno == ENOENT ? KF_IOERR_NAMENOTFOUND : FileErrorFromErrno(errno);
    *type = S_ISDIR(st.st_mode) ? 1 : S_ISREG(st.st_mode) ? 0 : 3;
    return KF_NOERROR;
}

KF_Err DeleteEntry(KF_HostContext* c, const KF_UChar* units, std::int32_t length)
{
    const std::string path = PathOf(units, length);
    if (path.empty() || path == "/")
        return KF_IOERR_BADLOCATION;
    if (const auto code = Fault(c, FileOp::Delete, path))
        return *code;
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0)
        return errno == ENOENT ? KF_IOERR_NAMENOTFOUND : FileErrorFromErrno(errno);
    std::error_code ec;
    fs::remove_all(path, ec);
    return ec ? FileErrorFromErrno(ec.value()) : KF_NOERROR;
}

// Entries in name order; a callback answering 0 ends the listing with APIERR_CANCEL.
KF_Err Enumerate(KF_HostContext* c, const KF_UChar* units, std::int32_t length, KF_EnumProc proc, void* userData)
{
    const std::string path = PathOf(units, length);
    if (path.empty() || !proc)
        return KF_IOERR_BADLOCATION;
    if (const auto code = Fault(c, FileOp::Enumerate, path))
        return *code;
    DIR* dir = ::opendir(path.c_str());
    if (!dir)
        return FileErrorFromErrno(errno);
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    for (const auto& name : names) {
        struct stat st {};
        const std::string full = (path.back() == '/' ? path : path + "/") + name;
        const bool isFolder = ::stat(full.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
        const std::u16string text = PathText(name);
        if (!CallAddOn(Self(c), HostOf(c), "folder enumeration", std::int32_t(0), [&] {
                return proc(userData, reinterpret_cast<const KF_UChar*>(text.data()), std::int32_t(text.size()),
                            isFolder ? 1 : 0);
            }))
            return KF_APIERR_CANCEL;
    }
    return KF_NOERROR;
}

KF_Err FileProbe(KF_HostContext* c, const KF_UChar* units, std::int32_t length, std::int32_t createIfMissing)
{
    const std::string path = PathOf(units, length);
    if (path.empty())
        return KF_IOERR_BADLOCATION;
    if (const auto code = Fault(c, FileOp::Create, path))
        return *code;
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0)
        return S_ISDIR(st.st_mode) ? KF_IOERR_ERROR : KF_NOERROR;
    if (errno != ENOENT || !createIfMissing)
        return FileErrorFromErrno(errno);
    // Exclusive, so that a dangling symlink planted at the path is refused, not followed.
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        return FileErrorFromErrno(errno);
    ::fchmod(fd, kNewFileMode & ~HostUmask());
    ::close(fd);
    return KF_NOERROR;
}

KF_Err FileOpen(KF_HostContext* c, const KF_UChar* units, std::int32_t length, std::int32_t mode, std::int64_t* handle)
{
    const std::string path = PathOf(units, length);
    if (path.empty() || !handle)
        return KF_IOERR_BADLOCATION;
    int flags = O_CLOEXEC;
    switch (mode) {
    case KF_FILEMODE_READ:
        flags |= O_RDONLY;
        break;
    case KF_FILEMODE_READWRITE:
        flags |= O_RDWR;
        break;
    case KF_FILEMODE_WRITEEMPTY:
        flags |= O_WRONLY | O_TRUNC;
        break;
    case KF_FILEMODE_READWRITEEMPTY:
        flags |= O_RDWR | O_TRUNC;
        break;
    case KF_FILEMODE_APPEND:
        flags |= O_WRONLY | O_APPEND;
        break;
    // A new file that this call creates: an entry of any kind at the path, even a symlink, refuses.
    case KF_FILEMODE_CREATENEW:
        flags |= O_WRONLY | O_CREAT | O_EXCL;
        break;
    default:
        return KF_APIERR_BADPARS;
    }
    if (mode == KF_FILEMODE_CREATENEW)
        if (const auto code = Fault(c, FileOp::Create, path))
            return *code;
    if (const auto code = Fault(c, FileOp::Open, path))
        return *code;
    int error = 0;
    const int fd = OpenRegular(path, flags, error);
    if (fd < 0)
        return FileErrorFromErrno(error);
    if (mode == KF_FILEMODE_CREATENEW)
        ::fchmod(fd, kNewFileMode & ~HostUmask());
    OpenFiles& open = HostOf(c).EntryState<OpenFiles>();
    *handle = open.next++;
    open.files[*handle] = OpenFile{fd, path};
    return KF_NOERROR;
}

KF_Err FileClose(KF_HostContext* c, std::int64_t handle)
{
    OpenFile* file = Handle(c, handle);
    if (!file)
        return KF_IOERR_NOTOPEN;
    const OpenFile closing = *file;
    HostOf(c).EntryState<OpenFiles>().files.erase(handle);
    const bool failed = ::close(closing.fd) != 0;
    const int error = errno;
    if (const auto code = Fault(c, FileOp::Close, closing.path))
        return *code;
    return failed ? FileErrorFromErrno(error) : KF_NOERROR;
}

KF_Err FileGetLength(KF_HostContext* c, std::int64_t handle, std::uint64_t* length)
{
    OpenFile* file = Handle(c, handle);
    if (!file)
        return KF_IOERR_NOTOPEN;
    if (const auto code = Fault(c, FileOp::Length, file->path))
        return *code;
    struct stat st {};
    if (::fstat(file->fd, &st) != 0)
        return FileErrorFromErrno(errno);
    if (length)
        *length = std::uint64_t(st.st_size);
    return KF_NOERROR;
}

KF_Err FileSeek(KF_HostContext* c, std::int64_t handle, std::uint64_t position)
{
    OpenFile* file = Handle(c, handle);
    if (!file)
        return KF_IOERR_NOTOPEN;
    if (const auto code = Fault(c, FileOp::Seek, file->path))
        return *code;
    if (position > std::uint64_t(INT64_MAX) || ::lseek(file->fd, off_t(position), SEEK_SET) < 0)
        return KF_IOERR_ERROR;
    return KF_NOERROR;
}

KF_Err FileRead(KF_HostContext* c, std::int64_t handle, char* buffer, std::uint64_t count, std::uint64_t* read)
{
    OpenFile* file = Handle(c, handle);
    if (read)
        *read = 0;
    if (!file)
        return KF_IOERR_NOTOPEN;
    if (const auto code = Fault(c, FileOp::Read, file->path))
        return *code;
    std::uint64_t done = 0;
    while (done < count) {
        const ssize_t n = ::read(file->fd, buffer + done, std::size_t(std::min<std::uint64_t>(count - done, 1u << 30)));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            if (read)
                *read = done;
            return FileErrorFromErrno(errno);
        }
        if (n == 0)
            break;
        done += std::uint64_t(n);
    }
    if (read)
        *read = done;
    return done == count ? KF_NOERROR : KF_IOERR_ENDOFFILE;
}

KF_Err FileWrite(KF_HostContext* c, std::int64_t handle, const char* data, std::uint64_t count, std::uint64_t* written)
{
    OpenFile* file = Handle(c, handle);
    if (written)
        *written = 0;
    if (!file)
        return KF_IOERR_NOTOPEN;
    if (const auto code = Fault(c, FileOp::Write, file->path))
        return *code;
    std::uint64_t done = 0;
    while (done < count) {
        const ssize_t n = ::write(file->fd, data + done, std::size_t(std::min<std::uint64_t>(count - done, 1u << 30)));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            if (written)
                *written = done;
            return FileErrorFromErrno(errno);
        }
        done += std::uint64_t(n);
    }
    if (written)
        *written = done;
    return KF_NOERROR;
}

KF_Err MoveOver(KF_HostContext* c, const KF_UChar* source, std::int32_t sourceLength, const KF_UChar* target,
                std::int32_t targetLength)
{
    const std::string from = PathOf(source, sourceLength);
    const std::string to = PathOf(target, targetLength);
    if (from.empty() || to.empty())
        return KF_IOERR_BADLOCATION;
    if (const auto code = Fault(c, FileOp::Move, to))
        return *code;
    // The new content must be on the disk before the name points at it, or a crash right after
    // the rename could leave an empty file where the old one was.
    // Only a failed flush of data counts: an entry that cannot be opened for it (no read
    // permission, not a regular file) is moved all the same.
    if (!SyncPath(from, O_RDONLY) && (errno == EIO || errno == ENOSPC || errno == EDQUOT))
        return FileErrorFromErrno(errno);
    if (::rename(from.c_str(), to.c_str()) != 0)
        return FileErrorFromErrno(errno);
    const auto slash = to.find_last_of('/');
    SyncPath(slash == std::string::npos || slash == 0 ? std::string("/") : to.substr(0, slash),
             O_RDONLY | O_DIRECTORY); // the rename itself; a folder that cannot be synced still holds it
    return KF_NOERROR;
}

} // namespace entry

} // namespace detail

std::vector<std::string> Host::OpenFilePaths()
{
    std::vector<std::string> paths;
    for (const auto& [handle, file] : EntryState<detail::OpenFiles>().files)
        paths.push_back(file.path);
    return paths;
}

void Host::CloseOpenFiles()
{
    auto& open = EntryState<detail::OpenFiles>();
    for (const auto& [handle, file] : open.files)
        ::close(file.fd);
    open.files.clear();
}

} // namespace kfhost
