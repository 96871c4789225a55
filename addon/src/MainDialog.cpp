// The main dialog: what the add-on is, how to reach its maker, and the way to the language dialog.
#include "AddOn.hpp"
#include "AddOnTexts.hpp"

#include "DG.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"

namespace {

constexpr short kCloseButton = 2;
constexpr short kLanguageButton = 12;
constexpr short kVersionItem = 9;

struct ItemText {
    short item;
    long stringIndex;
};

// Filled in this order; the version label (item 9) follows them.
constexpr ItemText kItemTexts[] = {
    {kCloseButton, 2}, {kLanguageButton, 17}, {3, 5}, {4, 6}, {5, 7}, {6, 8}, {7, 9}, {8, 10},
};

} // namespace

short MainDialog_Handler(short message, short dialID, short item, long long /*userData*/, long long /*msgData*/)
{
    switch (message) {
    case DG_MSG_INIT: {
        DGSetFocus(dialID, DG_NO_ITEM);
        DGSetDialogTitle(dialID, KF_String(sett_ADDON_NAME).ToUniString());
        DGSetDialogSize(dialID, DG_CLIENT, 356, 500, DG_TOPLEFT, true);
        const short strings = static_cast<short>(kAddOn_StringsBase + gKF_Language);
        for (const ItemText& entry : kItemTexts)
            DGSetItemText(dialID, entry.item, KF_Resource_GetString(strings, entry.stringIndex, true).ToUniString());
        DGSetItemText(dialID, kVersionItem, KF_String(kAddOn_VersionLabel).ToUniString());
        return 0;
    }
    case DG_MSG_CLICK:
        return (item == kCloseButton || item == kLanguageButton) ? item : 0;
    case DG_MSG_CLOSE:
        return item;
    default:
        return 0;
    }
}

void ShowMainDialog()
{
    for (;;) {
        const HostResModule previous = HostAPI_UseOwnResModule();
        const short result = DGModalDialog(HostAPI_GetOwnResModule(), kAddOn_MainDialogID, HostAPI_GetOwnResModule(),
                                           MainDialog_Handler, 0);
        HostAPI_ResetResModule(previous);
        // 0 is no item: the host could not show the dialog, and asking again would never end.
        if (result == kCloseButton || result == 0)
            return;
        // The language button: ask, then show the dialog again so that it comes up in the
        // language just chosen.
        KF_Dlg_Language(KF_String(kAddOn_VersionLine));
    }
}
