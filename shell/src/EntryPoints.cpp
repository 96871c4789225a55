// The entry points the host calls while it loads the add-on, in the host's order.
#include "Shell.hpp"
#include "ShellTexts.hpp"

#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Comm.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_Location.hpp"

API_AddonType CheckEnvironment(API_EnvirParams* envir)
{
    API_ServerApplicationInfo release{};
    ACAPI_GetReleaseNumber(&release);
    const long hostVersion = release.mainVersion;

    // A file left by an earlier run must not speak for this one: clear it before any add-on of
    // the family writes its presence again.
    KF_Location stale;
    if (KF_Comm::AddOnFileLocation(hostVersion, stale))
        KF_File::Delete(stale);

    if (envir == nullptr || envir->serverInfo.serverApplication != APIAppl_MainID)
        return APIAddon_DontRegister;

    envir->addOnInfo.name = KF_String(sett_ADDON_NAME).ToUniString();
    envir->addOnInfo.description = KF_String(kShell_Description).ToUniString();
    return APIAddon_Normal;
}

GSErrCode RegisterInterface()
{
    // Menu texts and the first dialog already follow the stored language.
    KF_Language_Read(true);

    // Only the international menu is registered, although all five get a handler (Initialize).
    GSErrCode err = ACAPI_Register_Menu(kShell_RegisteredMenuID, 0, MenuCode_Tools, 0);
    if (err != NoError)
        return err;
    err = ACAPI_Register_BuiltInLibrary();
    if (err != NoError)
        return err;
    return ACAPI_Register_SupportedService(kShell_CommandID, kShell_CommandVersion);
}

GSErrCode Initialize()
{
    GSErrCode err = ACAPI_Install_MenuHandler(kShell_FirstMenuID + 0, MenuCommandHandler_ITA);
    err |= ACAPI_Install_MenuHandler(kShell_FirstMenuID + 1, MenuCommandHandler_INT);
    err |= ACAPI_Install_MenuHandler(kShell_FirstMenuID + 2, MenuCommandHandler_FRA);
    err |= ACAPI_Install_MenuHandler(kShell_FirstMenuID + 3, MenuCommandHandler_GER);
    err |= ACAPI_Install_MenuHandler(kShell_FirstMenuID + 4, MenuCommandHandler_ESP);
    if (err != NoError)
        return err;
    return ACAPI_Install_ModulCommandHandler(kShell_CommandID, kShell_CommandVersion, CmdHandler);
}

GSErrCode FreeData()
{
    return NoError;
}
