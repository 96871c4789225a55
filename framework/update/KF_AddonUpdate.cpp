// The update check: schedule, download of the versions file, and the comparison with the running
// add-on's own version line.
#include "KF_AddonUpdateState.hpp"
#include "KF_VersionsFile.hpp"

#include "ACAPI.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_General.hpp"
#include "../files/KF_FileDetail.hpp"

#include <ctime>
#include <string>

namespace detail {

bool sUpdateCalledByUser = false;
bool sHasLibrary = false;
KF_String sUpdateAddonLibName;
KF_String sCurrentAddonVersion;
int sUpdateStatus = 0;
int sUpdateStatusLib = 0;
KF_String sServerAddonVersion("");
KF_String sServerAddonLibVersion("");
short sIDUpdateDialog = 0;
bool sUpdateCancelled = false;

} // namespace detail

using namespace detail;

namespace {

constexpr double kCheckInterval = 1209600.0;  // fourteen days, in seconds

// The same key for every add-on code: "LastUpdateCheck_" 17 "0".
KF_String LastCheckKey() { return KF_String("LastUpdateCheck_") + KF_String::LongToString(17, 0) + "0"; }

// The versions file as text for the comparison; false when it cannot be read or is too large.
// It is deleted either way.
bool ReadAndDeleteVersionsFile(KF_String& text)
{
    KF_Location location;
    if (!KF_AddonUpdate_VersionsFileLocation(location))
        return false;
    std::string bytes;
    bool exists = false;
    std::int32_t const read = detail::KF_File_ReadWhole(location, kVersionsFileLimit + 1, bytes, exists);
    KF_File::Delete(location);
    if (read != 0 || !exists)
        return false;
    text = KF_AddonUpdate_CheckText(bytes.data(), bytes.size());
    return true;
}

void CompareWithServer()
{
    KF_String text("");
    bool newer = false;
    if (!ReadAndDeleteVersionsFile(text) ||
        !KF_AddonUpdate_CompareVersions(text, sCurrentAddonVersion, newer, sServerAddonVersion)) {
        KF_AddonUpdate_ShowError();
        return;
    }
    sServerAddonLibVersion = "???";
    // An automatic check with nothing newer stays silent.
    if (sUpdateCalledByUser || newer) {
        sUpdateStatus = newer ? 3 : 2;
        sUpdateStatusLib = 1;
        KF_AddonUpdate_ResultUpdateInit(sIDUpdateDialog);
        DGShowModelessDialog(sIDUpdateDialog);
    }
}

int KF_AddonUpdate_UpdateCallBack(KF_URL_Message message, double, void*)
{
    switch (message) {
    case KF_URL_Opened:
        // Never cancels at the opening.
        sUpdateCancelled = false;
        break;
    case KF_URL_Failed: {
        // What a failed download left is no versions file: it goes.
        KF_Location location;
        if (KF_AddonUpdate_VersionsFileLocation(location))
            KF_File::Delete(location);
        DGModelessClose(sIDUpdateDialog);
        KF_AddonUpdate_ShowError();
        break;
    }
    case KF_URL_Close:
        DGModelessClose(sIDUpdateDialog);
        break;
    case KF_URL_Done:
        CompareWithServer();
        break;
    case KF_URL_Data:
        break;
    }
    return sUpdateCancelled ? 1 : 0;
}

} // namespace

bool KF_AddonUpdate_CheckForUpdate(long updateMode, bool byUser, const KF_String& addonVersion,
                                   const KF_String& libraryName)
{
    if (updateMode == 2)
        return true;
    sUpdateCalledByUser = byUser;
    KF_String const key = LastCheckKey();
    sHasLibrary = false;
    if (!libraryName.IsNullOrEmpty()) {
        sHasLibrary = true;
        sUpdateAddonLibName = libraryName;
    }
    KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, false);

    // The user's own request is never held back by the interval.
    if (!byUser) {
        long last = 0;
        KF_AddonSettings_GetLong(KF_AddonSettings_ThisAddon, key, &last, true);
        if (last != 0 && std::difftime(std::time(nullptr), static_cast<std::time_t>(last)) < kCheckInterval)
            return true;
    }

    sCurrentAddonVersion = addonVersion;
    if (addonVersion.IsNullOrEmpty())
        return false;
    KF_Location target;
    if (!KF_AddonUpdate_VersionsFileLocation(target))
        return false;

    if (!KF_General::URLDownload(KF_AddonUpdate_VersionsFileURL(), target, KF_AddonUpdate_UpdateCallBack, nullptr,
                                 kVersionsFileLimit)) {
        KF_AddonUpdate_ShowError();
        return true;
    }
    sUpdateStatus = 1;
    GSResModule const previous = ACAPI_UseOwnResModule();
    sIDUpdateDialog = DGModelessInit(ACAPI_GetOwnResModule(), kUpdateResultDialog, ACAPI_GetOwnResModule(),
                                     KF_AddonUpdate_ResultUpdate_Handler, 0, 0);
    ACAPI_ResetResModule(previous);
    // Written when the download starts: a failed check counts for the interval too.
    KF_AddonSettings_SetLong(KF_AddonSettings_ThisAddon, key, static_cast<long>(std::time(nullptr)), true);
    KF_AddonSettings_Save(KF_AddonSettings_ThisAddon);
    return true;
}

bool KF_AddonUpdate_AutoUpdate(long updateMode, const KF_String& addonVersion, const KF_String& libraryName)
{
    if (updateMode == 2)
        return true;
    KF_String value;
    if (KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"), &value, true) &&
        !value.IsNullOrEmpty()) {
        KF_CString const narrow = value.ToCStr(KF_String::Enc_System);
        if (KF_String::ToLong(narrow.bytes) == 1)
            return KF_AddonUpdate_CheckForUpdate(updateMode, false, addonVersion, libraryName);
        return true;
    }
    // The first call switches automatic checking on; the first check comes with the next call.
    KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"), KF_String("1"), true);
    return true;
}
