// The entry points the host calls while it loads the add-on, in the host's order.
#include "AddOn.hpp"
#include "AddOnTexts.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Comm.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_Location.hpp"

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    API_ServerApplicationInfo release{};
    HostAPI_GetReleaseNumber(&release);
    const long hostVersion = release.mainVersion;

    // A file left by an earlier run must not speak for this one: clear it before any add-on of
    // the family writes its presence again.
    KF_Location stale;
    if (KF_Comm::AddOnFileLocation(hostVersion, stale))
        KF_File::Delete(stale);

    if (envir == nullptr || envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;

    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kAddOn_Description).ToUniString();
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    // Menu texts and the first dialog already follow the stored language.
    KF_Language_Read(true);

    // Only the international menu is registered, although all five get a handler (Initialize).
    HostErrCode err = HostAPI_Register_Menu(kAddOn_RegisteredMenuID, 0, MenuCode_Tools, 0);
    if (err != NoError)
        return err;
    err = HostAPI_Register_BuiltInLibrary();
    if (err != NoError)
        return err;
    return HostAPI_Register_SupportedService(kAddOn_CommandID, kAddOn_CommandVersion);
}

HostErrCode Initialize()
{
    HostErrCode err = HostAPI_Install_MenuHandler(kAddOn_FirstMenuID + 0, MenuCommandHandler_ITA);
    err |= HostAPI_Install_MenuHandler(kAddOn_FirstMenuID + 1, MenuCommandHandler_INT);
    err |= HostAPI_Install_MenuHandler(kAddOn_FirstMenuID + 2, MenuCommandHandler_FRA);
    err |= HostAPI_Install_MenuHandler(kAddOn_FirstMenuID + 3, MenuCommandHandler_GER);
    err |= HostAPI_Install_MenuHandler(kAddOn_FirstMenuID + 4, MenuCommandHandler_ESP);
    if (err != NoError)
        return err;
    return HostAPI_Install_ModulCommandHandler(kAddOn_CommandID, kAddOn_CommandVersion, CmdHandler);
}

HostErrCode FreeData()
{
    return NoError;
}
