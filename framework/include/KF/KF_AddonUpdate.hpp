// Update checking: the maker's versions file, the check against it (on the user's request or by
// itself at most every fourteen days), and the switch for automatic checking.
#pragma once

#include "KF/KF_List.hpp"
#include "KF/KF_String.hpp"

// One MESSAGE entry of the versions file.
struct KF_AddonUpdate_Message {
    KF_String firstDate;  // "YYYYMMDD"; empty when the line has no second token
    KF_String secondDate; // "YYYYMMDD"; empty when the line has no third token
    KF_String text;       // the entry's text before the first "http://"
    KF_String url;        // from the first "http://" on; empty when there is none

    KF_AddonUpdate_Message();
};

// One library entry: "NAME DD-MM-YYYY".
struct KF_AddonUpdate_Library {
    KF_String name;
    KF_String date;     // "YYYYMMDD"
    KF_String dateText; // as written
    KF_String text;

    KF_AddonUpdate_Library();
};

// One add-on entry: "CODE a.b.c.d (HVn) DD/MM/YYYY [lang ...]".
struct KF_AddonUpdate_Addon {
    KF_String code;
    KF_String versionText;      // "a.b.c.d" as written
    unsigned short version[4];  // the four numbers, each cut to 16 bits; a missing one is 0
    unsigned short hostVersion; // the digits of "(HVn)" without their last one
    KF_String date;             // "YYYYMMDD"
    KF_String dateText;         // as written
    KF_List<short> languages;   // indices into gKF_Languages_Suffixes, in the order written
    KF_String text;

    KF_AddonUpdate_Addon();
};

// Parses "__updcf__.tmp" of the framework folder, appending one record per entry in file order
// (the lists are not cleared). False when the folder or the file cannot be opened; true otherwise,
// also for an empty or unreadable file.
bool KF_AddonUpdate_ReadVersionsFile(KF_List<KF_AddonUpdate_Message>& messages, KF_List<KF_AddonUpdate_Addon>& addons,
                                     KF_List<KF_AddonUpdate_Library>& libraries);

// Starts a check of addonVersion ("CODE a.b.c.d (HVn) DD/MM/YYYY") against the maker's versions
// file. updateMode 2: the add-on takes no part in update checking. A check not asked for by the
// user is skipped within fourteen days of the last one and shows nothing when nothing is newer.
// False only for an empty version line or a missing framework folder.
bool KF_AddonUpdate_CheckForUpdate(long updateMode, bool byUser, const KF_String& addonVersion,
                                   const KF_String& libraryName);
// A check of the add-on's own accord, when automatic checking is on; the first call only
// switches it on.
bool KF_AddonUpdate_AutoUpdate(long updateMode, const KF_String& addonVersion, const KF_String& libraryName);
// The menu command that toggles automatic checking (menus menuResID to menuResID + 6).
bool KF_AddonUpdate_SwitchAutoUpdateValue(short menuResID, short itemIndex);
// Puts the item's check mark in line with the setting.
bool KF_AddonUpdate_SetMenuUpdateCheck(short menuResID, short itemIndex);
