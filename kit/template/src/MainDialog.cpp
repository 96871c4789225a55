// The main dialog: a greeting in the current language and the version.
#include "AddOn.hpp"

#include "DG.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"

namespace {

constexpr short kCloseButton = 1;
constexpr short kGreetingItem = 2;
constexpr short kVersionItem = 3;

short MainDialog_Handler(short message, short dialID, short item, long long /*userData*/, long long /*msgData*/)
{
    switch (message) {
    case DG_MSG_INIT: {
        short const strings = static_cast<short>(kAddOn_StringsBase + gKF_Language);
        DGSetDialogTitle(dialID, KF_String(sett_ADDON_NAME).ToUniString());
        DGSetItemText(dialID, kCloseButton, KF_Resource_GetString(strings, 1, true).ToUniString());
        DGSetItemText(dialID, kGreetingItem, KF_Resource_GetString(strings, 2, true).ToUniString());
        DGSetItemText(dialID, kVersionItem, KF_String(kAddOn_VersionLine).ToUniString());
        return 0;
    }
    case DG_MSG_CLICK:
        return item == kCloseButton ? item : 0;
    case DG_MSG_CLOSE:
        return item;
    default:
        return 0;
    }
}

} // namespace

void AddOn_ShowMainDialog()
{
    // Dialogs and strings come from the add-on's own resources.
    HostResModule const previous = HostAPI_UseOwnResModule();
    DGModalDialog(HostAPI_GetOwnResModule(), kAddOn_MainDialogID, HostAPI_GetOwnResModule(), MainDialog_Handler, 0);
    HostAPI_ResetResModule(previous);
}
