// What the host does for an add-on beyond the HostAPI_ calls: starting a program (a table entry, so
// that a host can record it, tests read it back, and decide whether to carry it out) and the
// optional host services GetService answers by versioned name (the log, the update check's settings).
#pragma once

#include "HostTypes.hpp"
#include "HostUniString.hpp"

namespace HostServices {

// Starts argv[0] with the argument vector argv (null-terminated), never through a shell.
// The host records the request; it really starts the program only when configured to launch.
HostErrCode SpawnDetached(const char* const* argv);

// The update server the host points the update check at ("host:port" or a URL), or null when it
// names none. The text stays valid while the add-on is loaded.
const char* UpdateServer();
// The seconds the host allows one download, or 0 when it sets no limit of its own.
double DownloadTimeLimit();

// Writes a line into the host's log (its transcript, and the log pane of its windows); false when
// the host has no log.
bool Log(const Base::UniString& line);

} // namespace HostServices
