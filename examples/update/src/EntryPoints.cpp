// The entry points the host calls while it loads the example, in the host's order.
#include "UpdateExample.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Language.hpp"

API_AddonType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != APIAppl_MainID)
        return APIAddon_DontRegister;
    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kUpdateExample_Description).ToUniString();
    return APIAddon_Normal;
}

GSErrCode RegisterInterface()
{
    return ACAPI_Register_Menu(kUpdateExample_RegisteredMenuID, 0, MenuCode_Tools, 0);
}

GSErrCode Initialize()
{
    GSErrCode err = NoError;
    for (short menu = 0; menu < KF_Language_Count; ++menu)
        err |=
            ACAPI_Install_MenuHandler(static_cast<short>(kUpdateExample_FirstMenuID + menu), UpdateExample_MenuHandler);
    if (err != NoError)
        return err;
    // The check mark starts in line with the stored setting (on when none is stored).
    KF_AddonUpdate_SetMenuUpdateCheck(kUpdateExample_FirstMenuID, kUpdateExample_AutoCheckItem);
    return NoError;
}

GSErrCode FreeData()
{
    return NoError;
}
