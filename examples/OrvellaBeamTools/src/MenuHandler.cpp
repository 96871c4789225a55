// The example's menu: check now, switch automatic checking, tell the release; and a check of
// its own accord on first use.
#include "UpdateExample.hpp"

#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Dialog.hpp"
#include "KF/KF_Language.hpp"

namespace {

bool sMenuUsed = false;

} // namespace

HostErrCode UpdateExample_MenuHandler(const API_MenuParams* params)
{
    if (params == nullptr)
        return APIERR_BADPARS;
    const bool firstUse = !sMenuUsed;
    sMenuUsed = true;
    if (firstUse)
        KF_Language_Read(true);

    const KF_String versionLine(kUpdateExample_VersionLine);
    const KF_String libraryName(kUpdateExample_LibraryName);
    switch (params->menuItemRef.itemIndex) {
    case kUpdateExample_CheckNowItem:
        KF_AddonUpdate_CheckForUpdate(0, true, versionLine, libraryName);
        break;
    case kUpdateExample_AutoCheckItem:
        KF_AddonUpdate_SwitchAutoUpdateValue(kUpdateExample_FirstMenuID, kUpdateExample_AutoCheckItem);
        break;
    case kUpdateExample_AboutItem:
        KF_Dialog::ShowAlert(-1, KF_String(""), versionLine, libraryName);
        break;
    default:
        break;
    }
    // The first use of the menu is the moment for a check of the add-on's own accord, unless the
    // user has just asked for one.
    if (firstUse && params->menuItemRef.itemIndex != kUpdateExample_CheckNowItem)
        KF_AddonUpdate_AutoUpdate(0, versionLine, libraryName);
    return NoError;
}
