// The add-on side of the link, kept by the sdk. InstallHostTable checks the version, keeps a copy of
// the table and sets the application text encoding from it; null uninstalls. Tests that host
// framework code in-process without entry points install the table with it directly.
#pragma once

#include "kfsdk/HostTable.h"

namespace kfsdk {

KF_Err InstallHostTable(const KF_HostTable* table);
const KF_HostTable* CurrentHostTable();
void* ClientPointer();
void SetClientPointer(void* client);
// The host's record of the optional host service `name`, or null (no table, no such service).
const void* HostService(const char* name);

} // namespace kfsdk
