// Menu commands and the module command that other add-ons send.
#include "Shell.hpp"
#include "ShellTexts.hpp"

#include "KF/KF_Language.hpp"

namespace {

void MenuCommandHandler(const API_MenuParams* menuParams, short ownResID)
{
    if (menuParams == nullptr || menuParams->menuItemRef.menuResID != ownResID)
        return;

    ACAPI_KeepInMemory(true);

    // The first command of a run asks for the language when none is stored; later ones never
    // ask again, even when that first question was cancelled.
    static bool firstTime = false;
    if (!firstTime) {
        if (!KF_Language_Read(true)) {
            gKF_AskLanguage = true;
            KF_Dlg_Language(KF_String(kShell_VersionLine));
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

GSErrCode MenuCommandHandler_ITA(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kShell_FirstMenuID + 0);
    return NoError;
}

GSErrCode MenuCommandHandler_INT(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kShell_FirstMenuID + 1);
    return NoError;
}

GSErrCode MenuCommandHandler_FRA(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kShell_FirstMenuID + 2);
    return NoError;
}

GSErrCode MenuCommandHandler_GER(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kShell_FirstMenuID + 3);
    return NoError;
}

GSErrCode MenuCommandHandler_ESP(const API_MenuParams* menuParams)
{
    MenuCommandHandler(menuParams, kShell_FirstMenuID + 4);
    return NoError;
}

GSErrCode CmdHandler(GSHandle /*params*/, GSPtr /*resultData*/, bool /*silentMode*/)
{
    ShowMainDialog();
    return NoError;
}
