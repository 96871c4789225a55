// Module identifiers of the family's add-ons.
#include "KF/KF_Comm.hpp"

namespace {

constexpr KF_Comm_MDID MDID(UInt32 developer, UInt32 local)
{
    return (KF_Comm_MDID(developer) << 32) | KF_Comm_MDID(local);
}

constexpr UInt32 kFamily = KF_Comm::SuiteDeveloperID;

// Row code + 3.
constexpr KF_Comm_MDID kFamilyMDIDs[26] = {
    MDID(kFamily, KF_Comm::SuiteLocalID), // Tavolo
    MDID(kFamily, 0x4F524647u),           // Forge
    MDID(kFamily, 0x55504454u),           // Updater
    MDID(kFamily, 0x5354524Bu),           // Stairs
    MDID(kFamily, 0x524F4F46u),           // Roofs
    MDID(kFamily, 0x5241494Cu),           // Railings
    MDID(kFamily, 0x46414341u),           // Facades
    MDID(kFamily, 0x46555252u),           // Furniture
    MDID(kFamily, 0x4C494748u),           // Lighting
    MDID(kFamily, 0x4C41424Cu),           // Labels
    MDID(kFamily, 0x44494D53u),           // Dimensions
    MDID(kFamily, 0x48415443u),           // Hatches
    MDID(kFamily, 0x54455252u),           // Terrain
    MDID(kFamily, 0x54524545u),           // Trees
    MDID(kFamily, 0x444F4F52u),           // Doors
    MDID(kFamily, 0x57494E44u),           // Windows
    MDID(kFamily, 0x57414C4Cu),           // Walls
    MDID(kFamily, 0x534C4142u),           // Slabs
    MDID(kFamily, 0x434F4C4Du),           // Columns
    MDID(kFamily, 0x4245414Du),           // Beams
    MDID(kFamily, 0x53434844u),           // Schedules
    MDID(kFamily, 0x524E4452u),           // Renders
    MDID(kFamily, 0x54455854u),           // Textures
    MDID(kFamily, 0x434F4E56u),           // Converter
    MDID(kFamily, 0x4C494252u),           // Library
    MDID(kFamily, 0x56494557u),           // Viewer
};

} // namespace

KF_Comm_MDID KF_Comm::GetMDID(KF_Comm_AddOnsCode code)
{
    const int row = static_cast<int>(code) + 3;
    if (row < 0 || row >= static_cast<int>(sizeof kFamilyMDIDs / sizeof kFamilyMDIDs[0])) {
        return UnknownMDID;
    }
    return kFamilyMDIDs[row];
}
