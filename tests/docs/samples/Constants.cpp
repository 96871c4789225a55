// The guide's add-on names itself; its update server is given by the test (--update-server).
#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("Guide", "Guide_10", false, "jap rus", "", "updates.example.invalid",
                          "https://www.example.invalid/")
