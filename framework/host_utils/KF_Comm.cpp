// Communication files of the maker's add-ons and the suite's presence.
#include "KF/KF_Comm.hpp"

#include "KF_FileDetail.hpp"
#include "KF_SettingsFormat.hpp"
#include "KF_CommDetail.hpp"
#include "HostAPI.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_File.hpp"

#include <string>

namespace {

long RunningHostVersion()
{
    API_ServerApplicationInfo info{};
    HostAPI_GetReleaseNumber(&info);
    return info.mainVersion;
}

bool FrameworkFolder(KF_Location& folder)
{
    IO::Location host;
    if (IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &host) != NoError) {
        return false;
    }
    folder.Set(host);
    return true;
}

bool FileInFrameworkFolder(const KF_String& name, KF_Location& location)
{
    KF_Location folder;
    if (!FrameworkFolder(folder)) {
        return false;
    }
    location.path = folder.path + "/" + name;
    return true;
}

KF_String VersionText(const long& version)
{
    return KF_String::LongToString(version, 0);
}

} // namespace

bool KF_Comm::AddOnFileLocation(const long& version, KF_Location& location)
{
    return FileInFrameworkFolder(KF_String(sett_ADDON_SETTINGS_FILE_NAME, KF_String::Enc_System) + "_" +
                                     VersionText(version) + ".sui",
                                 location);
}

bool KF_Comm::SuiteFileLocation(const long& version, KF_Location& location)
{
    return FileInFrameworkFolder(KF_String("Tavolo_HV", KF_String::Enc_System) + VersionText(version) + ".sui",
                                 location);
}

bool KF_Comm::AddOnFileWrite(bool suiteLoaded)
{
    KF_Location location;
    if (!AddOnFileLocation(RunningHostVersion(), location)) {
        return false;
    }
    std::string const text = kf::detail::KF_Comm_BuildMessage(suiteLoaded);
    // Replaced whole in one step, so that a reader never meets half a file.
    return kf::detail::KF_File_ReplaceWhole(location, text.data(), text.size()) == 0;
}

bool KF_Comm::AddOnFileRead()
{
    KF_Location location;
    if (!AddOnFileLocation(RunningHostVersion(), location)) {
        return false;
    }
    std::string bytes;
    bool exists = false;
    if (kf::detail::KF_File_ReadWhole(location, kf::detail::kSettingsBufferSize, bytes, exists) != 0) {
        return false;
    }
    return kf::detail::KF_Comm_ReadMessage(bytes.data(), bytes.size());
}

void KF_Comm::AddOnsFileDelete()
{
    KF_Location folder;
    if (!FrameworkFolder(folder)) {
        return;
    }
    const KF_String ending = KF_String("_", KF_String::Enc_System) + VersionText(RunningHostVersion()) + ".sui";
    KF_List<KF_Location> files;
    folder.GetFilesInFolder(nullptr, false, &files);
    for (long i = 0; i < files.count; ++i) {
        const KF_String& path = files[i].path;
        const unsigned int slash = path.LastIndexOf('/');
        const KF_String name = slash == KF_String::NotFound ? path : path.Substring(slash + 1);
        if (name.EndsWith(ending)) {
            KF_File::Delete(files[i]);
        }
    }
}

bool KF_Comm::SuiteIsLoaded(bool& answered)
{
    const API_ModulID suite{SuiteDeveloperID, SuiteLocalID};
    if (HostAPI_Command_Test(&suite, SuiteCommand, 0) == NoError) {
        answered = true;
        return true;
    }
    answered = false;
    KF_Location location;
    if (!SuiteFileLocation(RunningHostVersion(), location)) {
        return false;
    }
    IO::File const probe(static_cast<IO::Location>(location), IO::File::Fail);
    return probe.GetStatus() == NoError;
}
