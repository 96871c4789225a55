// The title of the open project.
#include "KF/KF_General.hpp"

bool KF_General::HostProjectTitle(KF_String& title, bool* untitled)
{
    title = "";
    if (untitled != nullptr) {
        *untitled = true;
    }
    API_ProjectInfo info{};
    const HostErrCode err = HostAPI_Environment(HostEnv_Project, &info);
    if (err == NoError && !info.untitled && info.location != nullptr) {
        KF_Location project;
        project.Set(*info.location);
        const KF_String& path = project.path;
        const unsigned int slash = path.LastIndexOf('/');
        KF_String name = slash == KF_String::NotFound ? path : path.Substring(slash + 1);
        if (name.GetLength() >= 256) {
            name = name.Substring(0, 255);
        }
        if (!name.IsNull()) {
            title = name;
        }
        if (untitled != nullptr) {
            *untitled = false;
        }
    }
    delete info.location;
    delete info.location_team;
    return err == NoError;
}
