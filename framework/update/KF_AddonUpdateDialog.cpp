// The modeless results dialog of an update check: what was found, and buttons to the maker's web
// site and update page.
#include "KF_AddonUpdateState.hpp"

#include "HostAPI.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_General.hpp"
#include "KF/KF_Language.hpp"

namespace kf::detail {
namespace {

enum : short {
    kItemWebSite = 1,
    kItemCancel = 2,
    kItemLibraryHeadline = 3,
    kItemAddonResult = 4,
    kItemAddonPage = 5,
    kItemLibraryResult = 6,
    kItemLibraryPage = 7
};

void SetText(short dialogID, short item, const KF_String& text)
{
    DGSetItemText(dialogID, item, text.ToUniString());
}

KF_String S(long index)
{
    return KF_AddonUpdate_String(index);
}

KF_String AddonName()
{
    return KF_String(sett_ADDON_NAME);
}

// The update page with the query; the add-on's name goes unescaped and the library is never named.
KF_String UpdatePageWithQuery(bool forLibrary)
{
    KF_String query;
    query.SetSize(1000, false);
    query += "?acver=";
    query += KF_String::LongToString(17, 0);
    query += "&lang=";
    query += KF_String::LongToString(gKF_Language, 0);
    query += "&addon=";
    query += AddonName();
    if (forLibrary)
        query += "&lib=Unknown";
    return KF_AddonUpdate_UpdatePageURL() + query;
}

} // namespace

void KF_AddonUpdate_ResultUpdateInit(short dialogID)
{
    const KF_UpdateCheckState& check = KF_AddonUpdate_State();
    const HostResModule previous = HostAPI_UseOwnResModule();
    DGSetDialogSize(dialogID, DG_CLIENT, 655, 172, DG_TOPLEFT, false);
    DGSetDialogTitle(dialogID, AddonName().ToUniString());
    DGBeginMoveGrowItems(dialogID);

    SetText(dialogID, kItemCancel, S(5));
    SetText(dialogID, kItemWebSite, S(37));
    SetText(dialogID, kItemAddonPage, S(79));
    SetText(dialogID, kItemLibraryPage, S(79));

    if (check.status == kUpdateChecking) {
        for (short item : {kItemWebSite, kItemAddonPage, kItemLibraryPage, kItemAddonResult, kItemLibraryResult})
            DGHideItem(dialogID, item);
    } else {
        for (short item : {kItemWebSite, kItemAddonResult, kItemLibraryResult, kItemAddonPage})
            DGShowItem(dialogID, item);
        if (check.status != kUpdateNothingNewer)
            DGEnableItem(dialogID, kItemAddonPage);
        else
            DGDisableItem(dialogID, kItemAddonPage);

        if (!check.hasLibrary) {
            for (short item : {kItemLibraryPage, kItemLibraryResult, kItemLibraryHeadline})
                DGHideItem(dialogID, item);
            SetText(dialogID, kItemAddonResult, S(check.status != kUpdateNothingNewer ? 34 : 35));
        } else {
            const KF_String addonName("ADDONNAME");
            const KF_String libName("ADDONLIBNAME");
            DGShowItem(dialogID, kItemLibraryPage);
            SetText(dialogID, kItemLibraryHeadline,
                    S(check.status == kUpdateNothingNewer && check.statusLib == 1 ? 35 : 34));
            SetText(dialogID, kItemAddonResult,
                    S(check.status != kUpdateNothingNewer ? 81 : 80).Replace(addonName, AddonName()));
            if (check.statusLib != 1) {
                DGEnableItem(dialogID, kItemLibraryPage);
                SetText(dialogID, kItemLibraryResult, S(83).Replace(libName, check.addonLibName));
                DGShowItem(dialogID, kItemLibraryPage);
            } else {
                SetText(dialogID, kItemLibraryPage, S(84));
                SetText(dialogID, kItemLibraryResult, S(82).Replace(libName, check.addonLibName));
            }
        }
    }

    DGEndMoveGrowItems(dialogID);
    HostAPI_ResetResModule(previous);
    DGRedrawItem(dialogID, DG_ALL_ITEMS);
}

short KF_AddonUpdate_ResultUpdate_Handler(short message, short dialogID, short item, DGUserData, DGMessageData)
{
    switch (message) {
    case DG_MSG_INIT:
        HostAPI_RegisterModelessWindow(dialogID, nullptr, 7, APINULLGuid);
        KF_AddonUpdate_ResultUpdateInit(dialogID);
        return 0;
    case DG_MSG_CLOSE:
        HostAPI_UnregisterModelessWindow(dialogID);
        return 1;
    case DG_MSG_CLICK:
        switch (item) {
        case kItemWebSite:
            KF_General::LaunchURLByPath(KF_AddonUpdate_WebSiteURL());
            return item;
        case kItemCancel:
            KF_AddonUpdate_State().cancelled = true;
            return item;
        case kItemAddonPage:
        case kItemLibraryPage:
            KF_General::LaunchURLByPath(UpdatePageWithQuery(item == kItemLibraryPage));
            return item;
        case -1:
            return -1;
        default:
            return 0;
        }
    default:
        return 0;
    }
}

} // namespace kf::detail
