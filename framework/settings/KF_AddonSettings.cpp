// The shared and the private settings stores.
#include "KF/KF_AddonSettings.hpp"

#include "KF_FileDetail.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF_SettingsFormat.hpp"
#include "KF_SettingsState.hpp"

#include "kfsdk/HostServices.hpp"

#include <string>

namespace {

KF_List<KF_Setting> sAddonSettings;
KF_List<KF_Setting> sAllAddonsSettings;
bool sSettingsLoaded = false;
bool sAllSettingsLoaded = false;
// The file on disk was there but could not be read or parsed: it is kept aside before a save.
bool sSettingsRefused = false;
bool sAllSettingsRefused = false;

// Beside the store, the last file that failed to load.
constexpr char kRefusedSuffix[] = ".unreadable";

KF_List<KF_Setting>& ListOf(KF_AddonSettings_Type type)
{
    return type == KF_AddonSettings_ThisAddon ? sAddonSettings : sAllAddonsSettings;
}

bool& LoadedFlagOf(KF_AddonSettings_Type type)
{
    return type == KF_AddonSettings_ThisAddon ? sSettingsLoaded : sAllSettingsLoaded;
}

bool& RefusedFlagOf(KF_AddonSettings_Type type)
{
    return type == KF_AddonSettings_ThisAddon ? sSettingsRefused : sAllSettingsRefused;
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
    const auto* setting = reinterpret_cast<const KF_Setting*>(entry);
    return KF_String::Compare(setting->name, 0, *static_cast<const KF_String*>(name), 0, 0) == 0;
}

HostErrCode KF_AddonSettings_GetLocation(KF_AddonSettings_Type type, KF_Location& location)
{
    IO::Location folder;
    const HostErrCode err = IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder);
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
    bool& refused = RefusedFlagOf(type);
    if (kf::detail::KF_File_ReadWhole(location, kf::detail::kSettingsBufferSize, bytes, exists) != 0 ||
        !kf::detail::KF_Settings_ParseFile(bytes.data(), bytes.size(), list)) {
        refused = true;
        return false;
    }
    refused = false;
    loaded = true;
    return true;
}

bool KF_AddonSettings_Save(KF_AddonSettings_Type type)
{
    std::string const bytes = kf::detail::KF_Settings_BuildFile(ListOf(type));
    // What could not be read back is never written.
    if (bytes.size() >= kf::detail::kSettingsBufferSize) {
        return false;
    }
    KF_Location location;
    if (KF_AddonSettings_GetLocation(type, location) != NoError) {
        return false;
    }
    // No byte the user had may vanish: a file that failed to load goes aside first, and when it
    // cannot, it is not replaced.
    if (RefusedFlagOf(type)) {
        if (!kf::detail::KF_File_KeepAside(location, kRefusedSuffix)) {
            return false;
        }
        RefusedFlagOf(type) = false;
        const KF_String line = "settings file could not be read and was kept as " + location.path + kRefusedSuffix;
        HostServices::Log(line.ToUniString());
    }
    return kf::detail::KF_File_ReplaceWhole(location, bytes.data(), bytes.size()) == 0;
}

bool KF_AddonSettings_Get(KF_AddonSettings_Type type, KF_String name, KF_String* value, bool load)
{
    if (!LoadedFlagOf(type) && load && !KF_AddonSettings_Load(type, true)) {
        return false;
    }
    const long index = FindSetting(type, name);
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

std::string SystemBytesOf(const KF_String& text)
{
    const KF_CString converted = text.ToCStr(KF_String::Enc_System);
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
    const long index = FindSetting(type, name);
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
    const long index = FindSetting(type, name);
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
    const KF_Setting* entry = ListOf(type).Get(index);
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

namespace kf::detail {

void KF_AddonSettings_Forget(KF_AddonSettings_Type type)
{
    ListOf(type).Reset();
    LoadedFlagOf(type) = false;
    RefusedFlagOf(type) = false;
}

} // namespace kf::detail
