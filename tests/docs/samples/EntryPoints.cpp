// The guide's sample add-on: one menu (32501, in English only) whose items run the samples.
#include "Samples.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Dialog.hpp"

namespace {

constexpr short kGuide_MenuID = 32501;

void Say(KF_String const& text)
{
    KF_Dialog::ShowAlert(-1, KF_String(""), text, KF_String(""));
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
