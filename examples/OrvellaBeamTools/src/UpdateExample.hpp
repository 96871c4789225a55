// An example add-on of the framework that uses its update checking: a menu with "check now" and
// "check automatically", and an automatic check when the menu is first used.
#pragma once

#include "HostAPI.hpp"

// Seven menus, one per language; only the international one is registered.
constexpr short kUpdateExample_FirstMenuID = 32600;
constexpr short kUpdateExample_RegisteredMenuID = 32601;
constexpr short kUpdateExample_CheckNowItem = 1;
constexpr short kUpdateExample_AutoCheckItem = 2;
constexpr short kUpdateExample_AboutItem = 3;

// This release as the versions file would list it, and the library that comes with it.
extern const char kUpdateExample_VersionLine[];
extern const char kUpdateExample_LibraryName[];
extern const char kUpdateExample_Description[];

HostErrCode UpdateExample_MenuHandler(const API_MenuParams* params);
