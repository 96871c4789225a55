// The per-add-on constants the framework reads, for the fuzz target.
#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Fuzz", "Fuzz_10", false, "jap rus", "", "127.0.0.1", "http://127.0.0.1/")
