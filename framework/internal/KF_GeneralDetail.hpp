// Internals shared by the KF_General host utilities.
#pragma once

#include <string_view>

namespace kf::detail {

// Hands target (Enc_System bytes: a path or a web address) to the desktop's opener. Started from
// an argument vector, never through a shell. False when the host refuses to start it.
bool KF_General_SystemOpen(std::string_view target);

} // namespace kf::detail
