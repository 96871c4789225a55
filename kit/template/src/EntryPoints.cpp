// The entry points the host calls while it loads @NAME@, in the host's order.
#include "AddOn.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kAddOn_Description).ToUniString();
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    // The menu in the stored language ("int" when none is stored yet).
    KF_Language_Read(true);
    return HostAPI_Register_Menu(static_cast<short>(kAddOn_FirstMenuID + gKF_Language), 0, MenuCode_Tools, 0);
}

HostErrCode Initialize()
{
    // A handler for every language's menu, whichever one the host shows.
    HostErrCode err = NoError;
    for (short language = 0; language < KF_Language_Count; ++language)
        err |= HostAPI_Install_MenuHandler(static_cast<short>(kAddOn_FirstMenuID + language), AddOn_MenuHandler);
    return err;
}

HostErrCode FreeData()
{
    return NoError;
}
