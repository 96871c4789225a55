// Operating-system services the host performs on an add-on's behalf, so that a host can record
// them (tests read them back) and decide whether to carry them out.
#pragma once

#include "GSRoot.hpp"

namespace KFHost {

// Starts argv[0] with the argument vector argv (null-terminated), never through a shell.
// The host records the request; it really starts the program only when configured to launch.
GSErrCode SpawnDetached(const char* const* argv);

// A configuration value of the host by key (for example "update-server", "download-limit"),
// or null when the host has none. The text stays valid while the add-on is loaded.
const char* GetSetting(const char* key);

} // namespace KFHost
