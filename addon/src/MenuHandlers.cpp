// Menu commands and the module command that other add-ons send.
#include "AddOn.hpp"
#include "AddOnTexts.hpp"

#include "KF/KF_Language.hpp"

namespace {

void MenuCommandHandler(const API_MenuParams* menuParams, short ownResID)
{
    if (menuParams == nullptr || menuParams->menuItemRef.menuResID != ownResID)
        return;

    HostAPI_KeepInMemory(true);

    // The first command of a run asks for the language when none is stored; later ones never
    // ask again, even when that first question was cancelled.
    static bool firstTime = false;
    if (!firstTime) {
        if (!KF_Language_Read(true)) {
            gKF_AskLanguage = true;
            KF_Dlg_Language(KF_String(kAddOn_VersionLine));
        } else {
            gKF_AskLanguage = false;
        }
    }

    if (menuParams->menuItemRef.itemIndex == 1)
        ShowMainDialog();

    gKF_AskLanguage = false;
    firstTime = true;
}

} // namespace

HostErrCode MenuCommandHandler_ITA(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kAddOn_FirstMenuID + 0);
    return NoError;
}

HostErrCode MenuCommandHandler_INT(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kAddOn_FirstMenuID + 1);
    return NoError;
}

HostErrCode MenuCommandHandler_FRA(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kAddOn_FirstMenuID + 2);
    return NoError;
}

HostErrCode MenuCommandHandler_GER(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kAddOn_FirstMenuID + 3);
    return NoError;
}

HostErrCode MenuCommandHandler_ESP(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kAddOn_FirstMenuID + 4);
    return NoError;
}

HostErrCode CmdHandler(HostHandle /*params*/, HostPtr /*resultData*/, bool /*silentMode*/)
{
    ShowMainDialog();
    return NoError;
}
