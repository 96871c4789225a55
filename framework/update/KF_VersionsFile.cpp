// Reading the downloaded versions file from the framework folder.
#include "KF_VersionsFile.hpp"

#include "KF/KF_File.hpp"

#include <limits>
#include <memory>

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
    KF_File file;
    if (file.Open(location, KF_File_Read) != 0)
        return false;

    // A failed length query or read counts as an empty file.
    std::unique_ptr<char[]> bytes;
    UInt64 length = 0;
    UInt64 read = 0;
    if (file.file->GetDataLength(&length) == NoError && length > 0 &&
        length < std::numeric_limits<unsigned int>::max()) {
        bytes.reset(new char[length]);
        if (file.file->ReadBin(bytes.get(), length) == NoError)
            read = length;
    }
    file.file->Close();
    detail::KF_AddonUpdate_ParseVersionsBytes(bytes.get(), static_cast<std::size_t>(read), messages, addons,
                                              libraries);
    return true;
}
