// Communication between the maker's add-ons loaded side by side: per-host-version marker files in
// the framework folder telling whether the suite add-on is loaded, and the suite's own command.
#pragma once

#include "HostTypes.hpp"
#include "KF/KF_Location.hpp"

// The add-ons of the family, by code; GetMDID gives each one's module identifier.
enum KF_Comm_AddOnsCode : int {
    KF_Comm_Tavolo = -3, // the suite add-on
    KF_Comm_Forge = -2,
    KF_Comm_Updater = -1,
    KF_Comm_Stairs = 0,
    KF_Comm_Roofs = 1,
    KF_Comm_Railings = 2,
    KF_Comm_Facades = 3,
    KF_Comm_Furniture = 4,
    KF_Comm_Lighting = 5,
    KF_Comm_Labels = 6,
    KF_Comm_Dimensions = 7,
    KF_Comm_Hatches = 8,
    KF_Comm_Terrain = 9,
    KF_Comm_Trees = 10,
    KF_Comm_Doors = 11,
    KF_Comm_Windows = 12,
    KF_Comm_Walls = 13,
    KF_Comm_Slabs = 14,
    KF_Comm_Columns = 15,
    KF_Comm_Beams = 16,
    KF_Comm_Schedules = 17,
    KF_Comm_Renders = 18,
    KF_Comm_Textures = 19,
    KF_Comm_Converter = 20,
    KF_Comm_Library = 21,
    KF_Comm_Viewer = 22
};

// Developer identifier in the high 32 bits, local identifier in the low 32 bits.
using KF_Comm_MDID = UInt64;

class KF_Comm {
public:
    // The suite add-on's module identifier and the command it answers.
    static constexpr UInt32 SuiteDeveloperID = 0x53735736u;
    static constexpr UInt32 SuiteLocalID = 0x1BBAAC53u;
    static constexpr HostFourCC SuiteCommand = 0x53554954u; // "SUIT"
    // GetMDID's answer for a code outside the family: eight spaces.
    static constexpr KF_Comm_MDID UnknownMDID = 0x2020202020202020ull;

    // This add-on's file of that host version: <settings file name>_<version>.sui.
    static bool AddOnFileLocation(const long& version, KF_Location& location);
    // The suite's file of that host version: Tavolo_HV<version>.sui.
    static bool SuiteFileLocation(const long& version, KF_Location& location);
    // Replaces this add-on's file of the running host version.
    static bool AddOnFileWrite(bool suiteLoaded);
    // True when this add-on's file of the running host version holds one entry saying "TRUE".
    static bool AddOnFileRead();
    // Deletes every add-on's file of the running host version (never the suite's).
    static void AddOnsFileDelete();
    // True when the suite answers its command (answered true) or its file exists (answered false).
    static bool SuiteIsLoaded(bool& answered);
    static KF_Comm_MDID GetMDID(KF_Comm_AddOnsCode code);
};
