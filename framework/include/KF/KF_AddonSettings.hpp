// The two settings stores: named text values kept between runs in scrambled files of the
// framework folder, one shared by all of the maker's add-ons and one private to this add-on.
#pragma once

#include "HostTypes.hpp"
#include "KF/KF_List.hpp"
#include "KF/KF_Location.hpp"
#include "KF/KF_String.hpp"

enum KF_AddonSettings_Type {
    KF_AddonSettings_AllAddons = 0, // "Quadrelle.cfg", shared by the family
    KF_AddonSettings_ThisAddon = 1  // sett_ADDON_SETTINGS_FILE_NAME + ".cfg"
};

// One entry: a case-sensitive name and a text value (which may hold line breaks).
struct KF_Setting {
    KF_String name;
    KF_String value;

    KF_Setting();
    KF_Setting(const KF_String& entryName, const KF_String& entryValue);
};

// The store's file in the framework folder; the host's error (location untouched) on failure.
HostErrCode KF_AddonSettings_GetLocation(KF_AddonSettings_Type type, KF_Location& location);

// Reads the store from its file (always, unless onlyIfNotLoaded and it is loaded). A missing file
// loads empty; a file of 100,000 bytes or more, an unreadable or a malformed one gives false.
bool KF_AddonSettings_Load(KF_AddonSettings_Type type, bool onlyIfNotLoaded);
// Replaces the store's file by the entries in memory.
bool KF_AddonSettings_Save(KF_AddonSettings_Type type);

bool KF_AddonSettings_Get(KF_AddonSettings_Type type, KF_String name, KF_String* value, bool load);
// The value, or "" when the load fails or the name is absent.
KF_String KF_AddonSettings_Get(KF_AddonSettings_Type type, KF_String name, bool load);
bool KF_AddonSettings_GetLong(KF_AddonSettings_Type type, KF_String name, long* value, bool load);
long KF_AddonSettings_GetLong(KF_AddonSettings_Type type, KF_String name, bool load);
bool KF_AddonSettings_GetDouble(KF_AddonSettings_Type type, KF_String name, double* value, bool load);
double KF_AddonSettings_GetDouble(KF_AddonSettings_Type type, KF_String name, bool load);

// In memory only; always true (an absent name with create false changes nothing).
bool KF_AddonSettings_Set(KF_AddonSettings_Type type, KF_String name, KF_String value, bool create);
bool KF_AddonSettings_SetLong(KF_AddonSettings_Type type, KF_String name, long value, bool create);
bool KF_AddonSettings_SetDouble(KF_AddonSettings_Type type, KF_String name, double value, bool create);
// Load (if not loaded), Set, Save; the answer is Save's.
bool KF_AddonSettings_LoadSetSave(KF_AddonSettings_Type type, KF_String name, KF_String value, bool create);

// Removes the first entry of that name (in memory); false when there is none.
bool KF_AddonSettings_Remove(KF_AddonSettings_Type type, KF_String name);
// Empties the list in memory; the loaded flag stays as it is.
void KF_AddonSettings_Clear(KF_AddonSettings_Type type);
long KF_AddonSettings_GetCount(KF_AddonSettings_Type type);
// Entry by position, without loading; either output may be null.
bool KF_AddonSettings_Get(KF_AddonSettings_Type type, long index, KF_String* name, KF_String* value);

// Search predicate for KF_List<KF_Setting>::Search: entry is a KF_Setting, name a KF_String.
bool KF_AddOnSettings_SameSetting(char* entry, void* name);
