// The entry points an add-on defines. The sdk's linkage (linked into every bundle) exports thin
// wrappers of them, KFAddOn_CheckEnvironment and the like (see kfsdk/HostTable.h), together with
// KFAddOn_SetHostTable; everything else in an add-on is hidden.
#pragma once

#include "ACAPI.hpp"

API_AddonType CheckEnvironment(API_EnvirParams* envir);
GSErrCode RegisterInterface();
GSErrCode Initialize();
GSErrCode FreeData();
