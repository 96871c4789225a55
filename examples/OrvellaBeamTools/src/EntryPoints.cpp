// The entry points the host calls while it loads the example, in the host's order.
#include "UpdateExample.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Language.hpp"

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kUpdateExample_Description).ToUniString();
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    return HostAPI_Register_Menu(kUpdateExample_RegisteredMenuID, 0, MenuCode_Tools, 0);
}

HostErrCode Initialize()
{
    HostErrCode err = NoError;
    for (short menu = 0; menu < KF_Language_Count; ++menu)
        err |= HostAPI_Install_MenuHandler(static_cast<short>(kUpdateExample_FirstMenuID + menu),
                                           UpdateExample_MenuHandler);
    if (err != NoError)
        return err;
    // The check mark starts in line with the stored setting (on when none is stored).
    KF_AddonUpdate_SetMenuUpdateCheck(kUpdateExample_FirstMenuID, kUpdateExample_AutoCheckItem);
    return NoError;
}

HostErrCode FreeData()
{
    return NoError;
}
