// The menu: the main dialog and the language; on the first command of a run, the language
// question when none is stored.
#include "AddOn.hpp"

#include "KF/KF_Language.hpp"

HostErrCode AddOn_MenuHandler(const API_MenuParams* params)
{
    if (params == nullptr)
        return APIERR_BADPARS;
    HostAPI_KeepInMemory(true);

    static bool asked = false;
    if (!asked) {
        asked = true;
        if (!KF_Language_Read(true)) {
            gKF_AskLanguage = true;
            KF_Dlg_Language(KF_String(kAddOn_VersionLine));
            gKF_AskLanguage = false;
        }
    }

    switch (params->menuItemRef.itemIndex) {
    case kAddOn_AboutItem:
        AddOn_ShowMainDialog();
        break;
    case kAddOn_LanguageItem:
        KF_Dlg_Language(KF_String(kAddOn_VersionLine));
        break;
    default:
        break;
    }
    return NoError;
}
