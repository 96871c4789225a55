// State of the running update check, shared by the check and its results dialog (and read back
// by the tests).
#pragma once

#include "DG.hpp"
#include "KF/KF_String.hpp"

namespace kf::detail {

inline constexpr short kUpdateResultDialog = 32755;

// Values of KF_UpdateCheckState::status.
inline constexpr int kUpdateChecking = 1;
inline constexpr int kUpdateNothingNewer = 2;
inline constexpr int kUpdateNewerFound = 3;

// The one running check, read by its results dialog; statusLib is 1 once a result is shown.
struct KF_UpdateCheckState {
    bool calledByUser = false;
    bool hasLibrary = false;
    KF_String addonLibName;
    KF_String currentAddonVersion;
    int status = 0;
    int statusLib = 0;
    KF_String serverAddonVersion{""};
    KF_String serverAddonLibVersion{""};
    short dialogID = 0;
    bool cancelled = false;
};

KF_UpdateCheckState& KF_AddonUpdate_State();

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

} // namespace kf::detail
