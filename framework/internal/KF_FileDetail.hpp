// Framework-internal file helpers with bounds and atomic replacement; used by the settings and
// communication files.
#pragma once

#include "KF/KF_File.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kf::detail {

// Result number of a host code: mapped when not positive, KF_File_Failed when positive.
std::int32_t KF_File_ResultOf(HostErrCode err);

// Reads the whole file into out, refusing files of limit bytes or more (KF_File_TooLarge) before a
// byte is read. A missing file gives 0 with exists false and out empty. Unlike ReadBin, a failed
// length query or read is reported, so that a read error never looks like an empty file.
std::int32_t KF_File_ReadWhole(const KF_Location& location, std::size_t limit, std::string& out, bool& exists);

// Replaces the file by data in one step: the bytes go to a new temporary file of this process
// beside it, which is then moved over the old one (a symlink at the location is replaced, never
// followed). On any failure the old file is left as it was and only that temporary file is
// removed. Result number of the shared table.
std::int32_t KF_File_ReplaceWhole(const KF_Location& location, const char* data, std::size_t length);

// Creates a new file beside location under a unique name, exclusively (it never opens an entry that
// was there before, symlinks included), and leaves it open for writing in file. created receives
// its location: the caller moves it into place or deletes it. Result number of the shared table.
std::int32_t KF_File_CreateBeside(const KF_Location& location, KF_File& file, KF_Location& created);

// Moves the entry at location aside to location + suffix, replacing an older one of that name
// (one generation). False when it could not be moved; true also when there was nothing to move.
bool KF_File_KeepAside(const KF_Location& location, const char* suffix);

} // namespace kf::detail
