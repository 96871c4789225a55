// The build constants of the framework code linked into the update tests.
#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Beam Tools", "BeamTools_10", false, "jap rus", "", "updates.invalid", "http://www.invalid/")
