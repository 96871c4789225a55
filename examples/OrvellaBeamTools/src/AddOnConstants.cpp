// Everything that names the example add-on, in one place.
#include "UpdateExample.hpp"

#include "KF/KF_AddonConstants.hpp"

#define UPDATE_EXAMPLE_NAME "Orvella Beam Tools"

KF_DEFINE_ADDON_CONSTANTS(UPDATE_EXAMPLE_NAME, UPDATE_EXAMPLE_NAME "_10",
                          false, // the family's language, from the shared store
                          "jap rus", "",
                          "updates.orvella.example", // the host's --update-server overrides it
                          "https://www.orvella.example/")

const char kUpdateExample_VersionLine[] = "OBT 1.2.0.3 (HV170) 15/03/2013";
const char kUpdateExample_LibraryName[] = "OrvellaBeamLib";
const char kUpdateExample_Description[] = "Beams and joists, with a check for newer releases.";
