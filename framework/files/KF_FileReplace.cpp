// Bounded whole-file reading and atomic replacement for the framework's own small files.
#include "KF_FileDetail.hpp"

#include "KF_WriterTag.hpp"

#include <vector>

namespace kf::detail {

std::int32_t KF_File_ReadWhole(const KF_Location& location, std::size_t limit, std::string& out, bool& exists)
{
    out.clear();
    exists = false;
    {
        IO::File const probe(static_cast<IO::Location>(location), IO::File::Fail);
        if (probe.GetStatus() != NoError) {
            return KF_File_OK;
        }
    }
    exists = true;
    KF_File reader;
    if (std::int32_t const opened = reader.Open(location, KF_File_Read); opened != 0) {
        return opened;
    }
    UInt64 length = 0;
    if (const HostErrCode err = reader.file->GetDataLength(&length); err != NoError) {
        return KF_File::MapHostError(err);
    }
    if (length >= limit) {
        return KF_File_TooLarge;
    }
    out.resize(static_cast<std::size_t>(length));
    UInt64 read = 0;
    if (length > 0) {
        if (const HostErrCode err = reader.file->ReadBin(out.data(), length, &read); err != NoError) {
            out.clear();
            return KF_File::MapHostError(err);
        }
        if (read != length) {
            out.clear();
            return KF_File_Failed;
        }
    }
    if (const HostErrCode err = reader.file->Close(); err != NoError) {
        out.clear();
        return KF_File_ResultOf(err);
    }
    return KF_File_OK;
}

namespace {

// Attempts at a fresh name before giving up: a clash means another writer, or a planted entry.
constexpr int kNameAttempts = 16;

constexpr char kTemporaryEnding[] = ".kftmp";

// The entry's name when it is a temporary file of the target base, made by KF_Writer_NewTag: the
// tag between "<base>." and ".kftmp"; empty otherwise.
std::string TagOf(const Base::UniString& name, const Base::UniString& base)
{
    const std::size_t ending = sizeof kTemporaryEnding - 1;
    const std::size_t length = name.GetLength();
    if (length <= base.GetLength() + 1 + ending || name.GetAt(base.GetLength()) != '.')
        return {};
    for (std::size_t i = 0; i < base.GetLength(); ++i)
        if (name.GetAt(i) != base.GetAt(i))
            return {};
    for (std::size_t i = 0; i < ending; ++i)
        if (name.GetAt(length - ending + i) != static_cast<unsigned char>(kTemporaryEnding[i]))
            return {};
    std::string tag;
    for (std::size_t i = base.GetLength() + 1; i < length - ending; ++i) {
        if (name.GetAt(i) > 0x7F)
            return {};
        tag += static_cast<char>(name.GetAt(i));
    }
    return tag;
}

struct StaleSearch {
    Base::UniString base;
    std::vector<IO::Name> stale;
};

bool NoteStale(const IO::Folder&, const IO::Name& entry, bool isFolder, void* userData)
{
    auto* search = static_cast<StaleSearch*>(userData);
    KF_WriterID writer;
    if (!isFolder && KF_Writer_Parse(TagOf(entry.ToUniString(), search->base), writer) && KF_Writer_IsGone(writer))
        search->stale.push_back(entry);
    return true;
}

// Removes the temporary files of location that processes which no longer run left behind (a
// kill, a crash, a power cut). Another process's file is never touched while it may still write.
void RemoveStaleBeside(const KF_Location& location)
{
    IO::Location parent = static_cast<IO::Location>(location);
    IO::Name name;
    if (parent.MoveLastLocalName(&name) != NoError)
        return;
    IO::Folder folder(parent, IO::Folder::Fail);
    StaleSearch search{name.ToUniString(), {}};
    if (folder.GetStatus() != NoError || folder.Enumerate(NoteStale, &search) != NoError)
        return;
    for (const IO::Name& entry : search.stale) {
        // Only a file: a folder that took the name since is left alone.
        IO::Folder::EntryType type = IO::Folder::UnknownEntry;
        if (folder.GetType(entry, &type) == NoError && type == IO::Folder::File)
            folder.Delete(entry);
    }
}

// Writes the temporary file; unlike WriteBin, a failing close counts, as it may be where the
// system reports that the bytes did not reach the disk.
std::int32_t WriteAndClose(KF_File& writer, const char* data, std::size_t length)
{
    UInt64 written = 0;
    if (const HostErrCode err = writer.file->WriteBin(data, length, &written); err != NoError) {
        writer.file->ResetErrorStatus();
        return KF_File::MapHostError(err);
    }
    if (written != length) {
        return KF_File_Failed;
    }
    const HostErrCode closed = writer.file->Close();
    return KF_File_ResultOf(closed);
}

} // namespace

std::int32_t KF_File_CreateBeside(const KF_Location& location, KF_File& file, KF_Location& created)
{
    RemoveStaleBeside(location);
    std::int32_t result = KF_File_Failed;
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        // Same folder, so that the final move never crosses file systems.
        const KF_Location candidate(location.path + "." + KF_Writer_NewTag().c_str() + kTemporaryEnding);
        delete file.file;
        file.file = new IO::File(static_cast<IO::Location>(candidate), IO::File::LeaveToOpen);
        const HostErrCode err = file.file->Open(IO::File::CreateNewMode);
        if (err == NoError) {
            created = candidate;
            return KF_File_OK;
        }
        result = KF_File_ResultOf(err);
        if (result == KF_File_AccessDenied || result == KF_File_DiskFull) {
            break; // no other name would fare better
        }
    }
    return result;
}

bool KF_File_KeepAside(const KF_Location& location, const char* suffix)
{
    IO::Location parent = static_cast<IO::Location>(location);
    IO::Name name;
    if (parent.MoveLastLocalName(&name) != NoError) {
        return false;
    }
    IO::Folder const folder(parent, IO::Folder::Fail);
    IO::Folder::EntryType type = IO::Folder::UnknownEntry;
    if (folder.GetType(name, &type) == IO::NameNotFound) {
        return true;
    }
    return IO::FileSystem::MoveOver(static_cast<IO::Location>(location),
                                    static_cast<IO::Location>(KF_Location(location.path + suffix))) == NoError;
}

std::int32_t KF_File_ReplaceWhole(const KF_Location& location, const char* data, std::size_t length)
{
    if (location.path.IsNullOrEmpty() || (data == nullptr && length > 0)) {
        return KF_File_Failed;
    }
    KF_Location temporary;
    std::int32_t result = 0;
    {
        KF_File writer;
        result = KF_File_CreateBeside(location, writer, temporary);
        if (result != 0) {
            return result; // nothing of ours to remove
        }
        result = WriteAndClose(writer, data, length);
    }
    if (result == 0) {
        const HostErrCode moved =
            IO::FileSystem::MoveOver(static_cast<IO::Location>(temporary), static_cast<IO::Location>(location));
        if (moved == NoError) {
            return KF_File_OK;
        }
        result = KF_File_ResultOf(moved);
    }
    KF_File::Delete(temporary);
    return result;
}

} // namespace kf::detail
