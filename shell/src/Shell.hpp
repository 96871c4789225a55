// The shell's own pieces, shared between its source files.
#pragma once

#include "ACAPI.hpp"
#include "GSUniString.hpp"
#include "KF/KF_String.hpp"

// Resources of the add-on's own module.
constexpr short kShell_MainDialogID = 32500;
constexpr short kShell_FirstMenuID = 32500; // ITA; INT, FRA, GER, ESP follow
constexpr short kShell_RegisteredMenuID = 32501;
constexpr short kShell_StringsBase = 32530; // + language index

// The module command that other add-ons send us, and the service we announce under it.
constexpr GSType kShell_CommandID = GS::FourCC("QRT ");
constexpr Int32 kShell_CommandVersion = 0;

void ShowMainDialog();
short MainDialog_Handler(short message, short dialID, short item, long long userData, long long msgData);

GSErrCode MenuCommandHandler_ITA(const API_MenuParams* menuParams);
GSErrCode MenuCommandHandler_INT(const API_MenuParams* menuParams);
GSErrCode MenuCommandHandler_FRA(const API_MenuParams* menuParams);
GSErrCode MenuCommandHandler_GER(const API_MenuParams* menuParams);
GSErrCode MenuCommandHandler_ESP(const API_MenuParams* menuParams);
GSErrCode CmdHandler(GSHandle params, GSPtr resultData, bool silentMode);
