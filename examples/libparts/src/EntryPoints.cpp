// The entry points the host calls while it loads the example, in the host's order.
#include "LibPartsExample.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_String.hpp"

API_AddonType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != APIAppl_MainID)
        return APIAddon_DontRegister;
    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kLibParts_Description).ToUniString();
    return APIAddon_Normal;
}

GSErrCode RegisterInterface()
{
    const GSErrCode err = ACAPI_Register_Menu(kLibParts_RegisteredMenuID, 0, MenuCode_Tools, 0);
    if (err != NoError)
        return err;
    // The parts in the bundle's own library folder.
    return ACAPI_Register_BuiltInLibrary();
}

GSErrCode Initialize()
{
    GSErrCode err = NoError;
    for (short menu = 0; menu < KF_Language_Count; ++menu)
        err |= ACAPI_Install_MenuHandler(static_cast<short>(kLibParts_FirstMenuID + menu), LibParts_MenuHandler);
    return err;
}

GSErrCode FreeData()
{
    return NoError;
}
