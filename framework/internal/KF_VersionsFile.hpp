// Internals of the versions-file reader, shared with the update check and with the tests and
// the fuzz target (which feed it bytes directly).
#pragma once

#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Location.hpp"

#include <cstddef>
#include <string_view>

namespace kf::detail {

// Name of the downloaded versions file in the framework folder.
inline constexpr char kVersionsFileName[] = "__updcf__.tmp";

// 0 not an entry, 1 add-on line, 2 library line.
short KF_AddonUpdate_CheckVersionFormat(KF_List<KF_String>& tokens);
void KF_AddonUpdate_SplitAddonVersion(KF_String line, KF_AddonUpdate_Addon& out);
void KF_AddonUpdate_SplitLibVersion(KF_String line, KF_AddonUpdate_Library& out);
// "DD-MM-YYYY" (any separators) to "YYYYMMDD"; short input gives a short result.
KF_String KF_AddonUpdate_FormatDate(KF_String& date);
// The "#" lines after the head line at lineIndex; lineIndex ends on the last line consumed.
KF_String KF_AddonUpdate_ReadText(long& lineIndex, KF_List<KF_String>& lines);

// The whole file's text to records (appended).
void KF_AddonUpdate_ParseVersionsText(const KF_String& text, KF_List<KF_AddonUpdate_Message>& messages,
                                      KF_List<KF_AddonUpdate_Addon>& addons,
                                      KF_List<KF_AddonUpdate_Library>& libraries);
// The file's bytes (UTF-8) to records; a byte that is not UTF-8 spoils at most its own line.
void KF_AddonUpdate_ParseVersionsBytes(const char* bytes, std::size_t size, KF_List<KF_AddonUpdate_Message>& messages,
                                       KF_List<KF_AddonUpdate_Addon>& addons,
                                       KF_List<KF_AddonUpdate_Library>& libraries);

// A versions file larger than this is refused, downloaded or read.
inline constexpr std::size_t kVersionsFileLimit = 4u << 20;

// What the check compares: the downloaded bytes as text in the application's encoding (a byte
// that is not valid there spoils only its own line).
KF_String KF_AddonUpdate_CheckText(const char* bytes, std::size_t size);

// The comparison of the running add-on's version line with the add-on lines of text. False when
// the version line is malformed. newer tells whether a matching line has a later date; serverVersion
// is "???" or the head of the last matching line.
bool KF_AddonUpdate_CompareVersions(const KF_String& text, const KF_String& currentLine, bool& newer,
                                    KF_String& serverVersion);

// The framework folder's path with "/" and the versions file name; false without the folder.
bool KF_AddonUpdate_VersionsFileLocation(KF_Location& location);

} // namespace kf::detail
