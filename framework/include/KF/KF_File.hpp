// KF_File: whole-file operations through the host's file system, and a small owner of one open
// host file for callers that work in several steps.
//
// Every operation that returns a number returns one of the KF_File_ results below.
#pragma once

#include "IO.hpp"
#include "KF/KF_Location.hpp"
#include "KF/KF_String.hpp"

#include <cstdint>

// Passed to the host's open call unchanged.
enum KF_File_OpenMode : std::int32_t {
    KF_File_Read = 0,
    KF_File_ReadWrite = 1,
    KF_File_WriteEmpty = 2,
    KF_File_ReadWriteEmpty = 3,
    KF_File_Append = 4
};

// Result numbers shared by every operation that returns one.
constexpr std::int32_t KF_File_OK = 0;
constexpr std::int32_t KF_File_NoHostFile = 1; // text writing without an open host file
constexpr std::int32_t KF_File_AccessDenied = 2;
constexpr std::int32_t KF_File_NotFound = 3;
constexpr std::int32_t KF_File_DiskFull = 4;
constexpr std::int32_t KF_File_HostError = 5; // any other host file error
constexpr std::int32_t KF_File_Failed = 6;    // any other failure
// A file of the caller's limit (KF_File_TextLimit for ReadFullText) or more, refused before a byte
// is read.
constexpr std::int32_t KF_File_TooLarge = 7;
// The same bound as the framework's own settings and communication files.
constexpr unsigned long KF_File_TextLimit = 100000;

class KF_File {
public:
    // The held host file (heap), or null. Callers that used Open read and write through it.
    IO::File* file = nullptr;

    KF_File() = default;
    // Takes over a host file created with new (may be null).
    explicit KF_File(IO::File* hostFile) : file(hostFile) {}
    KF_File(const KF_File&) = delete;
    KF_File& operator=(const KF_File&) = delete;
    // Closes the held file when the host says it is open, then deletes it.
    ~KF_File();

    // Result number of a host file error code (0 for NoError).
    static std::int32_t MapHostError(HostErrCode err);

    std::int32_t Open(const KF_Location& location, const KF_File_OpenMode& mode);
    // Writes text (without its terminating zero bytes) to the open file, after its byte-order
    // mark when writeBOM is set. bytesWritten (may be null) receives the bytes written.
    std::int32_t WriteFullText(const KF_String& text, KF_String::Encoding encoding, bool writeBOM,
                               unsigned long* bytesWritten);

    // True when the entry (file or folder) is gone.
    static bool Delete(const KF_Location& location);
    // With create false a missing file is not created (result 6).
    static std::int32_t WriteBin(const KF_Location& location, const char* data, long length, bool append, bool create);
    // A missing file gives 0 with *exists false. *size 0 reads the whole file, which buffer must
    // hold; otherwise *size bytes from startPosition. On success *size is the count read.
    static std::int32_t ReadBin(const KF_Location& location, char* buffer, unsigned long* size, bool* exists,
                                const unsigned long& startPosition);
    static std::int32_t WriteFullText(const KF_Location& location, const KF_String& text, KF_String::Encoding encoding,
                                      bool writeBOM, bool append);
    // Reads a whole text file into text: a byte-order mark decides the encoding, otherwise the
    // bytes are taken in encoding (Enc_None: guessed from the bytes). A missing file gives 0 with
    // *exists (may be null) false and text empty. Unlike ReadBin, a failed read is reported (the
    // shared table); a mark of an encoding that cannot be converted gives 6.
    static std::int32_t ReadFullText(const KF_Location& location, KF_String& text, KF_String::Encoding encoding,
                                     bool* exists);
};
