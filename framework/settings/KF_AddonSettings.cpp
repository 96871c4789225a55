// The shared and the private settings stores.
#include "KF/KF_AddonSettings.hpp"

#include "../files/KF_FileDetail.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF_SettingsFormat.hpp"
#include "KF_SettingsState.hpp"

#include <string>

namespace {

KF_List<KF_Setting> sAddonSettings;
KF_List<KF_Setting> sAllAddonsSettings;
bool sSettingsLoaded = false;
bool sAllSettingsLoaded = false;
// A file that did not parse, read whole: kept beside before the first save replaces it.
std::string sAddonUnreadable;
std::string sAllAddonsUnreadable;

KF_List<KF_Setting>& ListOf(KF_AddonSettings_Type type)
{
    return type == KF_AddonSettings_ThisAddon ? sAddonSettings : sAllAddonsSettings;
}

bool& LoadedFlagOf(KF_AddonSettings_Type type)
{
    return type == KF_AddonSettings_ThisAddon ? sSettingsLoaded : sAllSettingsLoaded;
}

std::string& UnreadableOf(KF_AddonSettings_Type type)
{
    return type == KF_AddonSettings_ThisAddon ? sAddonUnreadable : sAllAddonsUnreadable;
}

// Writes the unreadable content under the first free name "<file>.unreadable", "<file>.unreadable2"...
bool KeepUnreadable(KF_Location const& location, std::string const& bytes)
{
    for (int n = 1; n < 100; ++n) {
        KF_Location kept(location.path + ".unreadable");
        if (n > 1)
            kept.path += KF_String::LongToString(n, 0);
        std::string existing;
        bool exists = false;
        if (detail::KF_File_ReadWhole(kept, detail::kSettingsBufferSize, existing, exists) != 0)
            return false;
        if (exists && existing != bytes)
            continue;
        return exists || detail::KF_File_ReplaceWhole(kept, bytes.data(), bytes.size()) == 0;
    }
    return false;
}

long FindSetting(KF_AddonSettings_Type type, KF_String& name)
{
    long index = -1;
    ListOf(type).Search(KF_AddOnSettings_SameSetting, index, &name);
    return index;
}

} // namespace

bool KF_AddOnSettings_SameSetting(char* entry, void* name)
{
    auto const* setting = reinterpret_cast<KF_Setting const*>(entry);
    return KF_String::Compare(setting->name, 0, *static_cast<KF_String const*>(name), 0, 0) == 0;
}

GSErrCode KF_AddonSettings_GetLocation(KF_AddonSettings_Type type, KF_Location& location)
{
    IO::Location folder;
    GSErrCode const err = IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder);
    if (err != NoError) {
        return err;
    }
    location.Set(folder);
    location.path += "/";
    if (type != KF_AddonSettings_AllAddons) {
        location.path += sett_ADDON_SETTINGS_FILE_NAME;
    } else {
        location.path += "Quadrelle";
    }
    location.path += ".cfg";
    return NoError;
}

bool KF_AddonSettings_Load(KF_AddonSettings_Type type, bool onlyIfNotLoaded)
{
    bool& loaded = LoadedFlagOf(type);
    if (onlyIfNotLoaded && loaded) {
        return true;
    }
    KF_List<KF_Setting>& list = ListOf(type);
    list.Reset();

    KF_Location location;
    if (KF_AddonSettings_GetLocation(type, location) != NoError) {
        return false;
    }
    std::string bytes;
    bool exists = false;
    if (detail::KF_File_ReadWhole(location, detail::kSettingsBufferSize, bytes, exists) != 0) {
        return false;
    }
    if (!detail::KF_Settings_ParseFile(bytes.data(), bytes.size(), list)) {
        UnreadableOf(type) = bytes;
        return false;
    }
    UnreadableOf(type).clear();
    loaded = true;
    return true;
}

bool KF_AddonSettings_Save(KF_AddonSettings_Type type)
{
    std::string const bytes = detail::KF_Settings_BuildFile(ListOf(type));
    // What could not be read back is never written.
    if (bytes.size() >= detail::kSettingsBufferSize) {
        return false;
    }
    KF_Location location;
    if (KF_AddonSettings_GetLocation(type, location) != NoError) {
        return false;
    }
    // Nothing the user had is lost: what did not parse stays beside the new file.
    std::string& unreadable = UnreadableOf(type);
    if (!unreadable.empty()) {
        if (!KeepUnreadable(location, unreadable)) {
            return false;
        }
        unreadable.clear();
    }
    return detail::KF_File_ReplaceWhole(location, bytes.data(), bytes.size()) == 0;
}

bool KF_AddonSettings_Get(KF_AddonSettings_Type type, KF_String name, KF_String* value, bool load)
{
    if (!LoadedFlagOf(type) && load && !KF_AddonSettings_Load(type, true)) {
        return false;
    }
    long const index = FindSetting(type, name);
    if (index < 0) {
        return false;
    }
    if (value != nullptr) {
        *value = ListOf(type)[index].value;
    }
    return true;
}

KF_String KF_AddonSettings_Get(KF_AddonSettings_Type type, KF_String name, bool load)
{
    KF_String value("", KF_String::Enc_System);
    if (!KF_AddonSettings_Get(type, name, &value, load)) {
        return KF_String("", KF_String::Enc_System);
    }
    return value;
}

namespace {

std::string SystemBytesOf(KF_String const& text)
{
    KF_CString const converted = text.ToCStr(KF_String::Enc_System);
    return converted.bytes != nullptr ? std::string(converted.bytes) : std::string();
}

} // namespace

bool KF_AddonSettings_GetLong(KF_AddonSettings_Type type, KF_String name, long* value, bool load)
{
    KF_String text;
    if (!KF_AddonSettings_Get(type, name, &text, load)) {
        return false;
    }
    if (value != nullptr) {
        *value = KF_String::ToLong(SystemBytesOf(text).c_str());
    }
    return true;
}

long KF_AddonSettings_GetLong(KF_AddonSettings_Type type, KF_String name, bool load)
{
    return KF_String::ToLong(SystemBytesOf(KF_AddonSettings_Get(type, name, load)).c_str());
}

bool KF_AddonSettings_GetDouble(KF_AddonSettings_Type type, KF_String name, double* value, bool load)
{
    KF_String text;
    if (!KF_AddonSettings_Get(type, name, &text, load)) {
        return false;
    }
    if (value != nullptr) {
        *value = KF_String::ToDouble(SystemBytesOf(text).c_str());
    }
    return true;
}

double KF_AddonSettings_GetDouble(KF_AddonSettings_Type type, KF_String name, bool load)
{
    return KF_String::ToDouble(SystemBytesOf(KF_AddonSettings_Get(type, name, load)).c_str());
}

bool KF_AddonSettings_Set(KF_AddonSettings_Type type, KF_String name, KF_String value, bool create)
{
    long const index = FindSetting(type, name);
    if (index >= 0) {
        ListOf(type)[index].value = value;
    } else if (create) {
        ListOf(type).AddData(KF_Setting(name, value), -1);
    }
    return true;
}

bool KF_AddonSettings_SetLong(KF_AddonSettings_Type type, KF_String name, long value, bool create)
{
    return KF_AddonSettings_Set(type, name, KF_String::LongToString(value, 0), create);
}

bool KF_AddonSettings_SetDouble(KF_AddonSettings_Type type, KF_String name, double value, bool create)
{
    return KF_AddonSettings_Set(type, name, KF_String::DoubleToString(value, 0u, 0u), create);
}

bool KF_AddonSettings_LoadSetSave(KF_AddonSettings_Type type, KF_String name, KF_String value, bool create)
{
    KF_AddonSettings_Load(type, true);
    KF_AddonSettings_Set(type, name, value, create);
    return KF_AddonSettings_Save(type);
}

bool KF_AddonSettings_Remove(KF_AddonSettings_Type type, KF_String name)
{
    long const index = FindSetting(type, name);
    if (index < 0) {
        return false;
    }
    ListOf(type).DeleteData(index);
    return true;
}

void KF_AddonSettings_Clear(KF_AddonSettings_Type type)
{
    ListOf(type).Reset();
}

long KF_AddonSettings_GetCount(KF_AddonSettings_Type type)
{
    return ListOf(type).count;
}

bool KF_AddonSettings_Get(KF_AddonSettings_Type type, long index, KF_String* name, KF_String* value)
{
    KF_Setting const* entry = ListOf(type).Get(index);
    if (entry == nullptr) {
        return false;
    }
    if (name != nullptr) {
        *name = entry->name;
    }
    if (value != nullptr) {
        *value = entry->value;
    }
    return true;
}

namespace detail {

void KF_AddonSettings_Forget(KF_AddonSettings_Type type)
{
    ListOf(type).Reset();
    LoadedFlagOf(type) = false;
    UnreadableOf(type).clear();
}

} // namespace detail
