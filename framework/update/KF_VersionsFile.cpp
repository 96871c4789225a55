// Reading the downloaded versions file from the framework folder.
#include "KF_VersionsFile.hpp"

#include "../files/KF_FileDetail.hpp"
#include "KF/KF_File.hpp"

#include <string>

namespace detail {

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

} // namespace detail

bool KF_AddonUpdate_ReadVersionsFile(KF_List<KF_AddonUpdate_Message>& messages,
                                     KF_List<KF_AddonUpdate_Addon>& addons,
                                     KF_List<KF_AddonUpdate_Library>& libraries)
{
    KF_Location location;
    if (!detail::KF_AddonUpdate_VersionsFileLocation(location))
        return false;
    std::string bytes;
    bool exists = false;
    std::int32_t const read = detail::KF_File_ReadWhole(location, detail::kVersionsFileLimit + 1, bytes, exists);
    if (!exists || read == detail::kFileTooLarge || read == 2 || read == 3)
        return false;
    // A failed read otherwise counts as an empty file.
    if (read != 0)
        bytes.clear();
    detail::KF_AddonUpdate_ParseVersionsBytes(bytes.data(), bytes.size(), messages, addons, libraries);
    return true;
}
