// The update check: schedule, download of the versions file, and the comparison with the running
// add-on's own version line.
#include "KF_AddonUpdateState.hpp"
#include "KF_VersionsFile.hpp"

#include "HostAPI.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_General.hpp"
#include "KF_FileDetail.hpp"

#include <charconv>
#include <ctime>
#include <string>

namespace kf::detail {

namespace {
KF_UpdateCheckState sCheck;
} // namespace

KF_UpdateCheckState& KF_AddonUpdate_State()
{
    return sCheck;
}

} // namespace kf::detail

using namespace kf::detail;

namespace {

constexpr double kCheckInterval = 1209600.0; // fourteen days, in seconds

// The same key for every add-on code: "LastUpdateCheck_" 17 "0".
KF_String LastCheckKey()
{
    return KF_String("LastUpdateCheck_") + KF_String::LongToString(17, 0) + "0";
}

// The seconds of a stored time: decimal digits with an optional "-", nothing else, no overflow.
bool ParseStoredTime(const KF_String& text, long& seconds)
{
    const KF_CString bytes = text.ToCStr(KF_String::Enc_UTF8);
    if (bytes.bytes == nullptr)
        return false;
    const char* const end = bytes.bytes + std::char_traits<char>::length(bytes.bytes);
    const auto [stop, error] = std::from_chars(bytes.bytes, end, seconds);
    return error == std::errc() && stop == end;
}

// Due when no check is stored, fourteen days after the last one, and also when the stored time
// does not parse or lies ahead (a clock that was once wrong): otherwise no automatic check would
// come until that date.
bool CheckIsDue(const KF_String& key)
{
    KF_String stored;
    long last = 0;
    if (!KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, key, &stored, true) || !ParseStoredTime(stored, last))
        return true;
    const std::time_t now = std::time(nullptr);
    return last <= 0 || last > now || std::difftime(now, static_cast<std::time_t>(last)) >= kCheckInterval;
}

// The versions file as text for the comparison; false when it cannot be read or is too large.
// It is deleted either way.
bool ReadAndDeleteVersionsFile(KF_String& text)
{
    KF_Location location;
    if (!KF_AddonUpdate_VersionsFileLocation(location))
        return false;
    std::string bytes;
    bool exists = false;
    std::int32_t const read = kf::detail::KF_File_ReadWhole(location, kVersionsFileLimit + 1, bytes, exists);
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
        !KF_AddonUpdate_CompareVersions(text, sCheck.currentAddonVersion, newer, sCheck.serverAddonVersion)) {
        KF_AddonUpdate_ShowError();
        return;
    }
    sCheck.serverAddonLibVersion = "???";
    // An automatic check with nothing newer stays silent.
    if (sCheck.calledByUser || newer) {
        sCheck.status = newer ? kUpdateNewerFound : kUpdateNothingNewer;
        sCheck.statusLib = 1;
        KF_AddonUpdate_ResultUpdateInit(sCheck.dialogID);
        DGShowModelessDialog(sCheck.dialogID);
    }
}

int KF_AddonUpdate_UpdateCallBack(KF_URL_Message message, double, void*)
{
    switch (message) {
    case KF_URL_Opened:
        // Never cancels at the opening.
        sCheck.cancelled = false;
        break;
    case KF_URL_Failed: {
        // What a failed download left is no versions file: it goes.
        KF_Location location;
        if (KF_AddonUpdate_VersionsFileLocation(location))
            KF_File::Delete(location);
        DGModelessClose(sCheck.dialogID);
        KF_AddonUpdate_ShowError();
        break;
    }
    case KF_URL_Close:
        DGModelessClose(sCheck.dialogID);
        break;
    case KF_URL_Done:
        CompareWithServer();
        break;
    case KF_URL_Data:
        break;
    }
    return sCheck.cancelled ? 1 : 0;
}

} // namespace

bool KF_AddonUpdate_CheckForUpdate(long updateMode, bool byUser, const KF_String& addonVersion,
                                   const KF_String& libraryName)
{
    if (updateMode == 2)
        return true;
    sCheck.calledByUser = byUser;
    const KF_String key = LastCheckKey();
    sCheck.hasLibrary = false;
    if (!libraryName.IsNullOrEmpty()) {
        sCheck.hasLibrary = true;
        sCheck.addonLibName = libraryName;
    }
    KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, false);

    // The user's own request is never held back by the interval.
    if (!byUser && !CheckIsDue(key))
        return true;

    sCheck.currentAddonVersion = addonVersion;
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
    sCheck.status = kUpdateChecking;
    const HostResModule previous = HostAPI_UseOwnResModule();
    sCheck.dialogID = DGModelessInit(HostAPI_GetOwnResModule(), kUpdateResultDialog, HostAPI_GetOwnResModule(),
                                     KF_AddonUpdate_ResultUpdate_Handler, 0, 0);
    HostAPI_ResetResModule(previous);
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
        const KF_CString narrow = value.ToCStr(KF_String::Enc_System);
        if (KF_String::ToLong(narrow.bytes) == 1)
            return KF_AddonUpdate_CheckForUpdate(updateMode, false, addonVersion, libraryName);
        return true;
    }
    // The first call switches automatic checking on; the first check comes with the next call.
    KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"), KF_String("1"), true);
    return true;
}
