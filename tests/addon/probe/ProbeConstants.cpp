#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Suite Probe", "Suite Probe_10", false, "", "", "", "")
