// The update check: schedule, download of the versions file, and the comparison with the running
// add-on's own version line.
#include "KF_AddonUpdateState.hpp"
#include "KF_VersionsFile.hpp"

#include "ACAPI.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_General.hpp"

#include <ctime>
#include <limits>
#include <memory>

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

KF_String const& TokenOrEmpty(KF_List<KF_String> const& tokens, long i)
{
    static KF_String const empty("");
    return i < tokens.GetCount() ? tokens[i] : empty;
}

bool Same(KF_String const& a, KF_String const& b) { return KF_String::Compare(a, 0, b, 0, 0) == 0; }

// The versions file as system-encoding text; false when it cannot be opened. It is deleted.
bool ReadAndDeleteVersionsFile(KF_String& text)
{
    KF_Location location;
    if (!KF_AddonUpdate_VersionsFileLocation(location))
        return false;
    {
        KF_File file;
        if (file.Open(location, KF_File_Read) != 0)
            return false;
        UInt64 length = 0;
        if (file.file->GetDataLength(&length) == NoError && length > 0 &&
            length < std::numeric_limits<unsigned int>::max()) {
            std::unique_ptr<char[]> bytes(new char[length]);
            if (file.file->ReadBin(bytes.get(), length) == NoError)
                KF_String::CStringToKF_String(text, bytes.get(), static_cast<unsigned int>(length),
                                              KF_String::Enc_System, false);
        }
        file.file->Close();
    }
    KF_File::Delete(location);
    return true;
}

// Within one code, host-version token and major version only the release date decides.
void CompareWithServer()
{
    KF_String text("");
    if (!ReadAndDeleteVersionsFile(text)) {
        KF_AddonUpdate_ShowError();
        return;
    }
    KF_List<KF_String> lines;
    text.SplitLines(lines, true, true);

    KF_List<KF_String> current;
    sCurrentAddonVersion.SplitBySpaces(current);
    if (KF_AddonUpdate_CheckVersionFormat(current) == 0) {
        KF_AddonUpdate_ShowError();
        return;
    }
    KF_List<KF_String> currentParts;
    TokenOrEmpty(current, 1).Split(currentParts, '.');
    KF_String currentDateToken = TokenOrEmpty(current, 3);
    KF_String const currentDate = KF_AddonUpdate_FormatDate(currentDateToken);

    sServerAddonVersion = "???";
    sServerAddonLibVersion = "???";
    bool newer = false;

    KF_List<KF_String> tokens;
    KF_List<KF_String> parts;
    for (long i = 0; i < lines.GetCount(); ++i) {
        if (lines[i].IsNullOrEmpty())
            continue;
        lines[i].SplitBySpaces(tokens);
        if (KF_AddonUpdate_CheckVersionFormat(tokens) != 1)
            continue;
        tokens[1].Split(parts, '.');
        if (!Same(tokens[0], TokenOrEmpty(current, 0)) || !Same(tokens[2], TokenOrEmpty(current, 2)) ||
            !Same(parts[0], TokenOrEmpty(currentParts, 0)))
            continue;
        if (KF_String::Compare(KF_AddonUpdate_FormatDate(tokens[3]), 0, currentDate, 0, 0) > 0)
            newer = true;
        sServerAddonVersion = tokens[0] + " " + tokens[1] + " " + tokens[2] + " " + tokens[3];
    }

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

    if (!KF_General::URLDownload(KF_AddonUpdate_VersionsFileURL(), target, KF_AddonUpdate_UpdateCallBack, nullptr)) {
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
