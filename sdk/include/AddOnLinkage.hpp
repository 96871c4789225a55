// The entry points an add-on defines. The sdk's linkage (linked into every bundle) exports them in
// one record, KFAddOn_Entry (see kfsdk/HostTable.h), with the table version the add-on was built
// against; everything else in an add-on is hidden.
#pragma once

#include "ACAPI.hpp"

API_AddonType CheckEnvironment(API_EnvirParams* envir);
GSErrCode RegisterInterface();
GSErrCode Initialize();
GSErrCode FreeData();
