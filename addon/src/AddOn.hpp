// Orvella Forge's own pieces, shared between its source files.
#pragma once

#include "HostAPI.hpp"
#include "HostUniString.hpp"
#include "KF/KF_String.hpp"

// Resources of the add-on's own module.
constexpr short kAddOn_MainDialogID = 32500;
constexpr short kAddOn_FirstMenuID = 32500; // ITA; INT, FRA, GER, ESP follow
constexpr short kAddOn_RegisteredMenuID = 32501;
constexpr short kAddOn_StringsBase = 32530; // + language index

// The module command that other add-ons send us, announced as our supported service.
constexpr HostFourCC kAddOn_CommandID = Base::FourCC("QRT ");
constexpr Int32 kAddOn_CommandVersion = 0;

void ShowMainDialog();
short MainDialog_Handler(short message, short dialID, short item, long long userData, long long msgData);

HostErrCode MenuCommandHandler_ITA(const API_MenuParams* menuParams);
HostErrCode MenuCommandHandler_INT(const API_MenuParams* menuParams);
HostErrCode MenuCommandHandler_FRA(const API_MenuParams* menuParams);
HostErrCode MenuCommandHandler_GER(const API_MenuParams* menuParams);
HostErrCode MenuCommandHandler_ESP(const API_MenuParams* menuParams);
HostErrCode CmdHandler(HostHandle params, HostPtr resultData, bool silentMode);
