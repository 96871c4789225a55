// The guide's add-on names itself; the test gives it its update server (--update-server).
#include "Samples.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KFKit/VersionLine.hpp"

KF_DEFINE_ADDON_CONSTANTS("Guide", "Guide_10", false, "jap rus", "", "updates.example.invalid",
                          "https://www.example.invalid/")

KF_DEFINE_VERSION_LINE(kGuide_VersionLine, "GDE 1.0.0.0 (HV170) 01/06/2025");
