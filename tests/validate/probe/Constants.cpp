#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Validator Probe", "ValidatorProbe_10", true, "jap rus", "", "updates.invalid",
                          "http://www.invalid/")
