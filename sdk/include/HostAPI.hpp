// The host's add-on interface: records and HostAPI_ calls. Every call is served by the host through
// the host table; before the table has arrived every call answers APIERR_GENERAL (or a neutral value).
#pragma once

#include "BM.hpp"
#include "HostTypes.hpp"
#include "HostUniString.hpp"
#include "IO.hpp"

// ---- environment and registration --------------------------------------------------------

enum API_ServerApplicationTypeID : Int32 {
    ServerApp_Main = 0, // the main application: the only host in which add-ons register
    ServerApp_Plotter = 1,
    ServerApp_Server = 2
};

struct API_ServerInfo {
    Int32 serverApplication = 0; // kind of server application, 0 = the main one
    Int32 mainVersion = 0;
    Int32 releaseVersion = 0;
    Int32 buildNum = 0;
    Int32 platform = 0; // 1 = the reference desktop platform
};

struct API_AddOnInfo {
    Base::UniString name;
    Base::UniString description;
};

struct API_EnvirParams {
    API_ServerInfo serverInfo;
    API_AddOnInfo addOnInfo;
};

struct API_ServerApplicationInfo {
    Int32 serverApplication = 0;
    Int32 mainVersion = 0;
    Int32 releaseVersion = 0;
    Int32 buildNum = 0;
    Int32 platform = 0;
};

enum API_AddOnType : Int32 { AddOnType_DontRegister = 0, AddOnType_Normal = 1, AddOnType_Preload = 2 };

enum APIMenuCodeID : Int32 {
    MenuCode_UserDef = 0,
    MenuCode_Tools = 13 // the host's add-on menu area
};

struct API_MenuItemRef {
    short menuResID = 0;
    Int32 itemIndex = 0; // 1-based
};

struct API_MenuParams {
    API_MenuItemRef menuItemRef;
};

// Menu item flags (HostAPI_Interface 'GMIF' / 'SMIF').
constexpr HostFlags API_MenuItemDisabled = 0x00000001;
constexpr HostFlags API_MenuItemChecked = 0x00000002;

struct API_ModulID {
    UInt32 developerID = 0;
    UInt32 localID = 0;
};

struct API_Guid {
    UInt64 time_low = 0;
    UInt64 rest = 0;
};
inline constexpr API_Guid APINULLGuid{};

using APIMenuCommandProc = HostErrCode(const API_MenuParams* menuParams);
using APIModulCommandProc = HostErrCode(HostHandle params, HostPtr resultData, bool silentMode);
using APIPaletteControlCallBackProc = HostErrCode(Int32 referenceID, Int32 messageID, Base::IntPtr param);

HostErrCode HostAPI_GetReleaseNumber(API_ServerApplicationInfo* serverApplicationInfo);
HostErrCode HostAPI_GetOwnLocation(IO::Location* ownFileLocation); // the bundle folder /A/B/Name.bundle
void HostAPI_KeepInMemory(bool keepInMemory);

HostErrCode HostAPI_Register_Menu(short menuStrResID, short promptStrResID, APIMenuCodeID menuPosCode,
                                  HostFlags menuFlags);
HostErrCode HostAPI_Register_BuiltInLibrary();
HostErrCode HostAPI_Register_SupportedService(HostFourCC cmdID, Int32 cmdVersion);
HostErrCode HostAPI_Install_MenuHandler(short menuStrResID, APIMenuCommandProc* handlerProc);
HostErrCode HostAPI_Install_ModulCommandHandler(HostFourCC cmdID, Int32 cmdVersion, APIModulCommandProc* handlerProc);

// Module commands between loaded add-ons. Test answers NoError when an add-on with that module
// identifier serves cmdID in that version.
HostErrCode HostAPI_Command_Test(const API_ModulID* mdid, HostFourCC cmdID, Int32 cmdVersion);
HostErrCode HostAPI_Command_Call(const API_ModulID* mdid, HostFourCC cmdID, Int32 cmdVersion, HostHandle params,
                                 HostPtr resultData, bool silentMode);
// The module identifier the host gave this add-on (from its bundle).
HostErrCode HostAPI_GetOwnModulID(API_ModulID* mdid);

HostErrCode HostAPI_RegisterModelessWindow(Int32 referenceID, APIPaletteControlCallBackProc* callBackProc,
                                           HostFlags controlFlags, const API_Guid& paletteGuid = APINULLGuid);
HostErrCode HostAPI_UnregisterModelessWindow(Int32 referenceID);

// ---- resources --------------------------------------------------------------------------

// Switches the current resource module to this add-on's own and returns the previous one.
HostResModule HostAPI_UseOwnResModule();
void HostAPI_ResetResModule(HostResModule previous);
HostResModule HostAPI_GetOwnResModule();
// String `index` (1-based) of the string-list resource resID in the current resource module.
bool HostAPI_Resource_GetLocUStr(Base::UniString* result, short resID, short index);
// The same string as 8-bit text (Enc_System), cut to fit size bytes with its terminator.
bool HostAPI_Resource_GetFixStr(char* result, UInt32 size, short resID, short index);

// ---- interface and environment calls --------------------------------------------------

using API_InterfaceID = HostFourCC;
using API_EnvironmentID = HostFourCC;

constexpr API_InterfaceID HostOp_GetMenuItemFlags = Base::FourCC("GMIF"); // par1 API_MenuItemRef*, par2 HostFlags*
constexpr API_InterfaceID HostOp_SetMenuItemFlags = Base::FourCC("SMIF"); // par1 API_MenuItemRef*, par2 HostFlags*

HostErrCode HostAPI_Interface(API_InterfaceID code, void* par1 = nullptr, void* par2 = nullptr);

constexpr API_EnvironmentID HostEnv_GetLibraries = Base::FourCC("GLIB");        // par1 API_LibraryList*
constexpr API_EnvironmentID HostEnv_AddLibraries = Base::FourCC("ALIB");        // par1 IO::Location* (a folder)
constexpr API_EnvironmentID HostEnv_Project = Base::FourCC("PROJ");             // par1 API_ProjectInfo*
constexpr API_EnvironmentID HostEnv_GetRenderingSets = Base::FourCC("GREN");    // par1 API_RenderingSets*
constexpr API_EnvironmentID HostEnv_ChangeRenderingSets = Base::FourCC("CREN"); // par1 API_RenderingSets*

HostErrCode HostAPI_Environment(API_EnvironmentID code, void* par1 = nullptr, void* par2 = nullptr);

// 'GLIB': the host fills count, the position number and a handle of count IO::Location* that the
// caller owns (delete each location, then BMKillHandle the handle).
struct API_LibraryList {
    Int32 count = 0;
    Int32 specialIndex = 0; // 0-based position of the library the host names (the project's own); 0 none
    HostHandle locations = nullptr;
};

// 'PROJ': untitled or the project file's location; both locations are the caller's to delete.
struct API_ProjectInfo {
    bool untitled = true;
    bool teamwork = false;
    IO::Location* location = nullptr;
    IO::Location* location_team = nullptr;
    Base::UniString projectName;
};

// 'GREN' / 'CREN'
struct API_RenderingSets {
    Int32 currentEngine = 0; // 1-based engine number, 0 when none is chosen
    Int32 engineCount = 0;
};

// Rendering engines: count, and the menu text of engine number (1-based) into buffer (at most
// size bytes with its terminator, Enc_System). Answers false for an unknown number.
Int32 EXPGetRendNum();
bool EXPGetRendMenuStr(Int32 engineNumber, char* buffer, UInt32 size = 256);

// ---- library parts ------------------------------------------------------------------------

enum API_LibTypeID : Int32 {
    API_ZombieLibID = 0,
    LibPartKind_Window = 1,
    LibPartKind_Door = 2,
    API_ObjectID = 3,
    API_LampID = 4,
    API_LabelID = 5,
    API_MacroID = 6,
    API_PictureID = 7,
    API_ListSchemeID = 8,
    API_SkylightID = 9
};

struct API_LibPart {
    API_LibTypeID typeID = API_ZombieLibID;
    Int32 index = 0;
    Base::uchar_t docu_UName[256] = {}; // the part's name, zero-ended UTF-16
    bool missingDef = false;            // the host knows the name, the definition is missing
    bool isPlaceable = true;
    IO::Location* location = nullptr; // filled on success; the caller deletes it
};

HostErrCode HostAPI_LibPart_Search(API_LibPart* ancestor, bool createIfMissing, bool onlyPlaceable);
HostErrCode HostAPI_LibPart_Get(API_LibPart* libPart);
