// State of the running update check, shared by the check and its results dialog (and read back
// by the tests).
#pragma once

#include "DG.hpp"
#include "KF/KF_String.hpp"

namespace detail {

inline constexpr short kUpdateResultDialog = 32755;

extern bool sUpdateCalledByUser;
extern bool sHasLibrary;
extern KF_String sUpdateAddonLibName;
extern KF_String sCurrentAddonVersion;
extern int sUpdateStatus;        // 1 checking, 2 nothing newer, 3 newer release found
extern int sUpdateStatusLib;     // 1 once a result is shown
extern KF_String sServerAddonVersion;
extern KF_String sServerAddonLibVersion;
extern short sIDUpdateDialog;
extern bool sUpdateCancelled;

// Results dialog.
void KF_AddonUpdate_ResultUpdateInit(short dialogID);
short KF_AddonUpdate_ResultUpdate_Handler(short message, short dialogID, short item, DGUserData userData,
                                          DGMessageData msgData);

// The maker's addresses: the add-on's build constants unless the host names another server.
KF_String KF_AddonUpdate_VersionsFileURL();
KF_String KF_AddonUpdate_UpdatePageURL();
KF_String KF_AddonUpdate_WebSiteURL();

// Framework string of the current language (string list 32710 + language).
KF_String KF_AddonUpdate_String(long index);
// The one alert every failure of a check shows.
void KF_AddonUpdate_ShowError();

} // namespace detail
