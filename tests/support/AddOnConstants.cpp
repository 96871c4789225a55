// Test values of the per-add-on constants, for test programs that link framework code without an
// add-on of their own. A program that defines the constants itself must define all of them.
#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Test Add-On", "TestAddOn", false, "jap rus", "", "127.0.0.1", "https://example.invalid/")
