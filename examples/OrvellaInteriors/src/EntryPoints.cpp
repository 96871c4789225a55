// The entry points the host calls while it loads the example, in the host's order.
#include "LibPartsExample.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_String.hpp"

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kLibParts_Description).ToUniString();
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    const HostErrCode err = HostAPI_Register_Menu(kLibParts_RegisteredMenuID, 0, MenuCode_Tools, 0);
    if (err != NoError)
        return err;
    // The parts in the bundle's own library folder.
    return HostAPI_Register_BuiltInLibrary();
}

HostErrCode Initialize()
{
    HostErrCode err = NoError;
    for (short menu = 0; menu < KF_Language_Count; ++menu)
        err |= HostAPI_Install_MenuHandler(static_cast<short>(kLibParts_FirstMenuID + menu), LibParts_MenuHandler);
    return err;
}

HostErrCode FreeData()
{
    return NoError;
}
