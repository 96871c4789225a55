// The entry points an add-on defines. The sdk's linkage exports them (wrapped) under the one
// exported entry symbol; everything else in an add-on is hidden.
#pragma once

#include "ACAPI.hpp"

API_AddonType CheckEnvironment(API_EnvirParams* envir);
GSErrCode RegisterInterface();
GSErrCode Initialize();
GSErrCode FreeData();
