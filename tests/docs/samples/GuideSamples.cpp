// The code samples of docs/addon-guide.md that the template does not show, built into one add-on
// and played by guide.kfs. The guide's blocks are cut from this file: keep them verbatim.
#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Comm.hpp"
#include "KF/KF_Dialog.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_LibPart.hpp"
#include "KF/KF_Location.hpp"

namespace {

constexpr short kGuide_MenuID = 32501;
constexpr char kGuide_VersionLine[] = "Guide 1.0.0";

void Say(KF_String const& text)
{
    KF_Dialog::ShowAlert(-1, KF_String(""), text, KF_String(""));
}

// Counts the uses of the menu in the add-on's own settings store.
long CountUse()
{
    long uses = 0;
    KF_AddonSettings_GetLong(KF_AddonSettings_ThisAddon, KF_String("Uses"), &uses, true);
    ++uses;
    KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, KF_String("Uses"),
                                 KF_String::LongToString(uses, 0), true);
    return uses;
}

// Shows the notes that travel with the add-on's resources.
void ShowNotes()
{
    KF_Location const notes(KF_Location::AddOnLocation(false).path + "/Resources/notes.txt");
    KF_String text;
    bool exists = false;
    if (KF_File::ReadFullText(notes, text, KF_String::Enc_UTF8, &exists) != 0 || !exists) {
        Say(KF_String("No notes."));
        return;
    }
    Say(text);
}

// Asks the family's suite add-on whether it is loaded.
void TellSuite()
{
    bool answered = false;
    bool const loaded = KF_Comm::SuiteIsLoaded(answered);
    Say(KF_String(loaded ? "The suite is loaded." : "The suite is not loaded."));
}

// The user asked for an update check: the framework shows the result or the failure itself.
void CheckNow()
{
    KF_AddonUpdate_CheckForUpdate(0, true, KF_String(kGuide_VersionLine), KF_String(""));
}

// Looks a library part up by name in the loaded libraries.
bool FindChair(API_LibPart& part)
{
    return KF_LibPart::LibPart(KF_String("Tavolo Chair"), API_ObjectID, part);
}

HostErrCode MenuHandler(const API_MenuParams* params)
{
    if (params == nullptr)
        return APIERR_BADPARS;
    switch (params->menuItemRef.itemIndex) {
    case 1:
        Say(KF_String("Uses: ") + KF_String::LongToString(CountUse(), 0));
        break;
    case 2:
        ShowNotes();
        break;
    case 3:
        TellSuite();
        break;
    case 4:
        CheckNow();
        break;
    case 5: {
        API_LibPart part{};
        Say(KF_String(FindChair(part) ? "Found the chair." : "No chair."));
        break;
    }
    default:
        break;
    }
    return NoError;
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    return HostAPI_Register_Menu(kGuide_MenuID, 0, MenuCode_Tools, 0);
}

HostErrCode Initialize()
{
    return HostAPI_Install_MenuHandler(kGuide_MenuID, MenuHandler);
}

HostErrCode FreeData()
{
    return NoError;
}
