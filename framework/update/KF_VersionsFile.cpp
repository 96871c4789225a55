// Reading the downloaded versions file from the framework folder.
#include "KF_VersionsFile.hpp"

#include "KF_FileDetail.hpp"
#include "KF/KF_File.hpp"

#include <string>

namespace kf::detail {

bool KF_AddonUpdate_VersionsFileLocation(KF_Location& location)
{
    IO::Location folder;
    if (IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder) != NoError)
        return false;
    KF_Location framework;
    framework.Set(folder);
    location = KF_Location(framework.path + "/" + kVersionsFileName);
    return true;
}

} // namespace kf::detail

bool KF_AddonUpdate_ReadVersionsFile(KF_List<KF_AddonUpdate_Message>& messages, KF_List<KF_AddonUpdate_Addon>& addons,
                                     KF_List<KF_AddonUpdate_Library>& libraries)
{
    KF_Location location;
    if (!kf::detail::KF_AddonUpdate_VersionsFileLocation(location))
        return false;
    std::string bytes;
    bool exists = false;
    std::int32_t const read =
        kf::detail::KF_File_ReadWhole(location, kf::detail::kVersionsFileLimit + 1, bytes, exists);
    if (!exists || read == KF_File_TooLarge || read == KF_File_AccessDenied || read == KF_File_NotFound)
        return false;
    // A failed read otherwise counts as an empty file.
    if (read != 0)
        bytes.clear();
    kf::detail::KF_AddonUpdate_ParseVersionsBytes(bytes.data(), bytes.size(), messages, addons, libraries);
    return true;
}
