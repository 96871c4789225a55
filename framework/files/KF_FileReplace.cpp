// Bounded whole-file reading and atomic replacement for the framework's own small files.
#include "KF_FileDetail.hpp"


namespace detail {

std::int32_t KF_File_ReadWhole(KF_Location const& location, std::size_t limit, std::string& out, bool& exists)
{
    out.clear();
    exists = false;
    {
        IO::File const probe(static_cast<IO::Location>(location), IO::File::Fail);
        if (probe.GetStatus() != NoError) {
            return 0;
        }
    }
    exists = true;
    KF_File reader;
    if (std::int32_t const opened = reader.Open(location, KF_File_Read); opened != 0) {
        return opened;
    }
    UInt64 length = 0;
    if (GSErrCode const err = reader.file->GetDataLength(&length); err != NoError) {
        return KF_File::MapHostError(err);
    }
    if (length >= limit) {
        return kFileTooLarge;
    }
    out.resize(static_cast<std::size_t>(length));
    UInt64 read = 0;
    if (length > 0) {
        if (GSErrCode const err = reader.file->ReadBin(out.data(), length, &read); err != NoError) {
            out.clear();
            return KF_File::MapHostError(err);
        }
        if (read != length) {
            out.clear();
            return 6;
        }
    }
    if (GSErrCode const err = reader.file->Close(); err != NoError) {
        out.clear();
        return err > 0 ? 6 : KF_File::MapHostError(err);
    }
    return 0;
}

KF_Location KF_File_ReplacementLocation(KF_Location const& location)
{
    // Same folder, so that the final move never crosses file systems.
    return KF_Location(location.path + ".kftmp");
}

namespace {

// Writes the temporary file; unlike WriteBin, a failing close counts, as it may be where the
// system reports that the bytes did not reach the disk.
std::int32_t WriteTemporary(KF_Location const& temporary, char const* data, std::size_t length)
{
    KF_File writer;
    if (std::int32_t const opened = writer.Open(temporary, KF_File_WriteEmpty); opened != 0) {
        return opened;
    }
    UInt64 written = 0;
    if (GSErrCode const err = writer.file->WriteBin(data, length, &written); err != NoError) {
        writer.file->ResetErrorStatus();
        return KF_File::MapHostError(err);
    }
    if (written != length) {
        return 6;
    }
    GSErrCode const closed = writer.file->Close();
    return closed > 0 ? 6 : KF_File::MapHostError(closed);
}

} // namespace

std::int32_t KF_File_ReplaceWhole(KF_Location const& location, char const* data, std::size_t length)
{
    if (location.path.IsNullOrEmpty() || (data == nullptr && length > 0)) {
        return 6;
    }
    KF_Location const temporary = KF_File_ReplacementLocation(location);
    if (std::int32_t const written = WriteTemporary(temporary, data, length); written != 0) {
        KF_File::Delete(temporary);
        return written;
    }
    GSErrCode const moved = IO::FileSystem::MoveOver(static_cast<IO::Location>(temporary),
                                                     static_cast<IO::Location>(location));
    if (moved != NoError) {
        KF_File::Delete(temporary);
        return moved > 0 ? 6 : KF_File::MapHostError(moved);
    }
    return 0;
}

} // namespace detail
