// Bounded whole-file reading and atomic replacement for the framework's own small files.
#include "KF_FileDetail.hpp"

#include <chrono>
#include <random>

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

// Eight hexadecimal digits that differ between processes and between calls.
std::string UniqueTag()
{
    static std::mt19937_64 generator{
        std::random_device{}() ^
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count())};
    static const char digits[] = "0123456789abcdef";
    std::uint64_t bits = generator();
    std::string tag(12, '0');
    for (char& c : tag) {
        c = digits[bits & 0xF];
        bits >>= 4;
    }
    return tag;
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
    std::int32_t result = KF_File_Failed;
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        // Same folder, so that the final move never crosses file systems.
        const KF_Location candidate(location.path + "." + UniqueTag().c_str() + ".kftmp");
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
