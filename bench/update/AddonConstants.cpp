// The per-add-on constants the framework reads, for a benchmark built without the test support.
#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Bench", "Bench_10", false, "", "", "127.0.0.1", "http://127.0.0.1/")
