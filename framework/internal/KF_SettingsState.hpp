// Framework-internal: puts a store back into its state at load (empty, never loaded), as a fresh
// load of the add-on would; used where one process plays several runs of the host.
#pragma once

#include "KF/KF_AddonSettings.hpp"

namespace kf::detail {

void KF_AddonSettings_Forget(KF_AddonSettings_Type type);

} // namespace kf::detail
