// An example add-on of the framework that uses the host utilities: it finds its library parts
// (loading the suite library beside it, or asking for a folder), shows the project's title,
// switches the rendering engine by name and opens its read-me.
#pragma once

#include "HostAPI.hpp"

// Seven menus, one per language; only the international one is registered.
constexpr short kLibParts_FirstMenuID = 32620;
constexpr short kLibParts_RegisteredMenuID = 32621;

enum : short {
    kLibParts_FindSuitePartItem = 1,
    kLibParts_ProjectTitleItem = 2,
    kLibParts_SketchEngineItem = 3,
    kLibParts_ReadMeItem = 4,
    kLibParts_FindBuiltInPartItem = 5
};

// Texts of the add-on's own string lists (32530 + language).
enum : short {
    kLibParts_FoundText = 1,   // ^1 part, ^2 library folder
    kLibParts_ProjectText = 2, // ^1 title
    kLibParts_UntitledText = 3,
    kLibParts_EngineText = 4,   // ^1 engine name
    kLibParts_NoEngineText = 5, // ^1 engine name
    kLibParts_NoReadMeText = 6,
    kLibParts_BuiltInText = 7,  // ^1 part
    kLibParts_NoBuiltInText = 8 // ^1 part
};

extern const char kLibParts_Description[];
extern const char kLibParts_SuitePart[];   // in the suite library, "Tavolo_Library"
extern const char kLibParts_BuiltInPart[]; // in the bundle's own library
extern const char kLibParts_Engine[];      // a part of the engine's menu text
extern const char kLibParts_ReadMe[];      // inside the bundle

HostErrCode LibParts_MenuHandler(const API_MenuParams* params);
