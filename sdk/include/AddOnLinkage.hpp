// The entry points an add-on defines. The sdk's linkage (linked into every bundle) exports them in
// one record, KFAddOn_Entry (see kfsdk/HostTable.h), with the table version the add-on was built
// against; everything else in an add-on is hidden.
#pragma once

#include "HostAPI.hpp"

API_AddOnType CheckEnvironment(API_EnvirParams* envir);
HostErrCode RegisterInterface();
HostErrCode Initialize();
HostErrCode FreeData();
