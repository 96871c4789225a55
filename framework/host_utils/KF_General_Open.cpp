// The one place that starts the desktop's opener: an argument vector, so that no character of a
// path or an address is ever read by a shell.
#include "KF_GeneralDetail.hpp"

#include "kfsdk/HostServices.hpp"

#include <string>

namespace kf::detail {

bool KF_General_SystemOpen(std::string_view target)
{
    // The opener would read a leading "-" as an option of its own.
    std::string argument = !target.empty() && target.front() == '-' ? "./" : "";
    argument.append(target.substr(0, target.find('\0')));
    const char* const argv[] = {"xdg-open", argument.c_str(), nullptr};
    return HostServices::SpawnDetached(argv) == NoError;
}

} // namespace kf::detail
