// Whole-file operations and the owner of one open host file.
#include "KF/KF_File.hpp"
#include "KF_FileDetail.hpp"

namespace {

constexpr IO::File::AccessDeniedTreatment kDeniedTreatment = IO::File::ReturnErrorOnDenied;

// Closes (the close's own answer is ignored), closes again if still open, deletes.
void Dispose(IO::File* file)
{
    if (file == nullptr) {
        return;
    }
    file->Close();
    if (file->IsOpen()) {
        file->Close();
    }
    delete file;
}

// True when the file exists: a temporary host file that must not create anything.
bool Probe(const KF_Location& location)
{
    IO::File const probe(static_cast<IO::Location>(location), IO::File::Fail);
    return probe.GetStatus() == NoError;
}

// 0 when the new host file is open for writing (emptied unless appending), else the result number.
std::int32_t OpenForWriting(IO::File& file, bool append)
{
    if (const HostErrCode status = file.GetStatus(); status != NoError) {
        return kf::detail::KF_File_ResultOf(status);
    }
    return kf::detail::KF_File_ResultOf(
        file.Open(append ? IO::File::AppendMode : IO::File::WriteEmptyMode, kDeniedTreatment));
}

} // namespace

KF_File::~KF_File()
{
    if (file != nullptr) {
        if (file->IsOpen()) {
            file->Close();
        }
        delete file;
        file = nullptr;
    }
}

std::int32_t KF_File::MapHostError(HostErrCode err)
{
    switch (err) {
    case NoError:
        return KF_File_OK;
    case IO::AccessDenied:
        return KF_File_AccessDenied;
    case IO::FileNotFound:
        return KF_File_NotFound;
    case IO::DiskFull:
        return KF_File_DiskFull;
    case IO::Error:
        return KF_File_HostError;
    default:
        return KF_File_Failed;
    }
}

std::int32_t kf::detail::KF_File_ResultOf(HostErrCode err)
{
    return err > 0 ? KF_File_Failed : KF_File::MapHostError(err);
}

std::int32_t KF_File::Open(const KF_Location& location, const KF_File_OpenMode& mode)
{
    delete file;
    file = nullptr;
    IO::File::OnNotFound const onNotFound = mode == KF_File_Read ? IO::File::Fail : IO::File::Create;
    file = new IO::File(static_cast<IO::Location>(location), onNotFound);
    if (const HostErrCode status = file->GetStatus(); status != NoError) {
        return kf::detail::KF_File_ResultOf(status);
    }
    if (static_cast<std::int32_t>(mode) < 0 || static_cast<std::int32_t>(mode) > 4) {
        return KF_File_Failed;
    }
    return kf::detail::KF_File_ResultOf(file->Open(static_cast<IO::File::OpenMode>(mode), kDeniedTreatment));
}

std::int32_t KF_File::WriteFullText(const KF_String& text, KF_String::Encoding encoding, bool writeBOM,
                                    unsigned long* bytesWritten)
{
    unsigned long written = 0;
    if (writeBOM) {
        const KF_CString bom = KF_String::GetBOM(encoding);
        if (bom.bytes != nullptr && bom.length > 0) {
            if (file == nullptr) {
                return KF_File_NoHostFile;
            }
            UInt64 done = 0;
            if (const HostErrCode err = file->WriteBin(bom.bytes, bom.length, &done); err != NoError) {
                file->ResetErrorStatus();
                return MapHostError(err);
            }
            written = static_cast<unsigned long>(done);
        }
    }
    if (bytesWritten != nullptr) {
        *bytesWritten = written;
    }

    const KF_CString converted = text.ToCStr(encoding);
    unsigned long count = converted.bytes != nullptr ? converted.length : 0;
    // Every trailing zero byte goes, the terminator and any zero high byte of a last character alike.
    while (count > 0 && converted.bytes[count - 1] == '\0') {
        --count;
    }
    if (file == nullptr) {
        return KF_File_NoHostFile;
    }
    UInt64 done = 0;
    if (const HostErrCode err = file->WriteBin(converted.bytes, count, &done); err != NoError) {
        file->ResetErrorStatus();
        return MapHostError(err);
    }
    if (bytesWritten != nullptr) {
        *bytesWritten += static_cast<unsigned long>(done);
    }
    return KF_File_OK;
}

bool KF_File::Delete(const KF_Location& location)
{
    IO::Location parent = static_cast<IO::Location>(location);
    IO::Name lastName;
    if (parent.MoveLastLocalName(&lastName) != NoError) {
        return false;
    }
    IO::Folder folder(parent, IO::Folder::Fail);
    return folder.Delete(lastName, IO::Folder::NormalSafety, IO::Folder::ReturnErrorOnDenied) == NoError;
}

std::int32_t KF_File::WriteBin(const KF_Location& location, const char* data, long length, bool append, bool create)
{
    if (length < 0 || (data == nullptr && length > 0)) {
        return KF_File_Failed;
    }
    if (!create && !Probe(location)) {
        return KF_File_Failed;
    }
    auto* const host = new IO::File(static_cast<IO::Location>(location), IO::File::Create);
    std::int32_t result = OpenForWriting(*host, append);
    if (result == 0) {
        if (const HostErrCode werr = host->WriteBin(data, static_cast<UInt64>(length)); werr != NoError) {
            host->ResetErrorStatus();
            result = MapHostError(werr);
        }
    }
    Dispose(host);
    return result;
}

std::int32_t KF_File::ReadBin(const KF_Location& location, char* buffer, unsigned long* size, bool* exists,
                              const unsigned long& startPosition)
{
    if (!Probe(location)) {
        if (exists != nullptr) {
            *exists = false;
        }
        return KF_File_OK;
    }
    if (exists != nullptr) {
        *exists = true;
    }
    auto* const host = new IO::File(static_cast<IO::Location>(location), IO::File::Create);
    if (const HostErrCode err = host->Open(IO::File::ReadMode, kDeniedTreatment); err != NoError) {
        Dispose(host);
        return kf::detail::KF_File_ResultOf(err);
    }

    // A failure while sizing, seeking or reading only skips what follows; the close decides.
    unsigned long count = size != nullptr ? *size : 0;
    bool ok = true;
    if (count == 0) {
        UInt32 length32 = 0;
        ok = host->GetDataLength(&length32) == NoError;
        count = length32;
    }
    ok = ok && host->SeekTo(startPosition) == NoError;
    UInt64 request = count;
    if (ok && count == 0) {
        UInt64 length64 = 0;
        ok = host->GetDataLength(&length64) == NoError;
        request = length64;
    }
    if (ok && buffer == nullptr && request > 0) {
        ok = false;
    }
    if (ok && host->ReadBin(buffer, request) == NoError && size != nullptr) {
        *size = count;
    }

    const HostErrCode closeErr = host->Close();
    if (host->IsOpen()) {
        host->Close();
    }
    delete host;
    return kf::detail::KF_File_ResultOf(closeErr);
}

std::int32_t KF_File::WriteFullText(const KF_Location& location, const KF_String& text, KF_String::Encoding encoding,
                                    bool writeBOM, bool append)
{
    auto* const host = new IO::File(static_cast<IO::Location>(location), IO::File::Create);
    std::int32_t result = OpenForWriting(*host, append);
    if (result == 0) {
        KF_File writer(host);
        result = writer.WriteFullText(text, encoding, writeBOM, nullptr);
        writer.file = nullptr; // disposed below, closed and deleted like every whole-file operation
    }
    Dispose(host);
    return result;
}
