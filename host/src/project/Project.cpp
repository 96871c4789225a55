// Project information: the project given with --project, untitled without one. The file is named,
// never opened, so that a project may be described that this machine could not even store.
#include "TableEntries.hpp"
#include "kfhost/Text.hpp"

#include <system_error>

namespace kfhost::detail {
namespace entry {

KF_Err GetProjectInfo(KF_HostContext* c, KF_ProjectRecord* record, const KF_StringOut* location,
                      const KF_StringOut* teamLocation, const KF_StringOut* projectName)
{
    if (!record)
        return KF_APIERR_BADPARS;
    const std::filesystem::path& project = HostOf(c).Config().project;
    record->teamwork = 0;
    if (project.empty()) {
        record->untitled = 1;
        return KF_NOERROR;
    }
    std::error_code ec;
    std::filesystem::path const file = std::filesystem::absolute(project, ec).lexically_normal();
    std::u16string const path = FromUTF8(file.string());
    record->untitled = 0;
    Emit(location, path);
    // A solo project is shared from where it is stored.
    Emit(teamLocation, path);
    Emit(projectName, FromUTF8(file.stem().string()));
    return KF_NOERROR;
}

} // namespace entry

} // namespace kfhost::detail
