// KF_Location: one entry of the file system (a file or a folder), held as its full path with "/"
// between names. The host's IO::Location is met only at the edges.
#pragma once

#include "IO.hpp"
#include "KF/KF_List.hpp"
#include "KF/KF_String.hpp"

class KF_Location {
public:
    // The full path; never ends in "/"; the null string names nothing. The framework edits it
    // directly (finding the last "/", cutting, appending a name).
    KF_String path;

    // The empty location (null path).
    KF_Location() = default;
    // One trailing "/" is dropped; a null path gives the empty location.
    explicit KF_Location(const KF_String& fullPath);

    // Takes the host's path of location; a path the host cannot give leaves the location empty.
    void Set(const IO::Location& location);

    operator IO::Location() const;
    operator IO::Location();

    // The UTF-8 POSIX path read back as Enc_System text; empty when the host cannot give it.
    KF_String GetPOSIXPath() const;

    // True only when the parent folder reports the last name as a folder.
    bool IsFolder() const;

    // The add-on's own file, or with parentOnly the folder holding it ("" when the path has no "/").
    static KF_Location AddOnLocation(bool parentOnly);

    // Appends the files of this folder (extensions: bare, case-insensitive; null = every file,
    // an empty list = none) to result; false when the folder cannot be opened or listed.
    bool GetFilesInFolder(KF_List<KF_String>* extensions, bool recursive, KF_List<KF_Location>* result) const;
    // Appends the sub-folders, each before its own contents when recursive.
    bool GetSubFolders(bool recursive, KF_List<KF_Location>* result) const;
};
