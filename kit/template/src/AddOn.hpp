// What the source files of @NAME@ share: its resource numbers and its handlers.
#pragma once

#include "HostAPI.hpp"

// One menu per language (32500 + language index, 0 to 6); the host gets the one of the
// language stored when the add-on registers.
constexpr short kAddOn_FirstMenuID = 32500;
constexpr short kAddOn_AboutItem = 1;
constexpr short kAddOn_LanguageItem = 2;

constexpr short kAddOn_MainDialogID = 32500;
constexpr short kAddOn_StringsBase = 32530;   // + language index: the add-on's own texts

extern const char kAddOn_VersionLine[];
extern const char kAddOn_Description[];

HostErrCode AddOn_MenuHandler(const API_MenuParams* params);
void AddOn_ShowMainDialog();
