// Everything that names this add-on, in one place: the framework's per-add-on constants plus the
// description and version texts that only Orvella Forge shows.
#include "AddOnTexts.hpp"

#include "KF/KF_AddonConstants.hpp"

#define ORVELLA_FORGE_NAME "Orvella Forge"

KF_DEFINE_ADDON_CONSTANTS(ORVELLA_FORGE_NAME, ORVELLA_FORGE_NAME "_10",
                          false,     // the language is the family's, kept in the shared store
                          "jap rus", // languages beyond Spanish that our texts cover
                          "",        // the language dialog offers all seven
                          "updates.orvella.example", "https://www.orvella.example/")

const char kAddOn_Description[] = "The home of the Orvella add-ons: their language and how to reach us.";
const char kAddOn_VersionLine[] = "Version: " ORVELLA_FORGE_NAME " Full (25/10/2016)";
const char kAddOn_VersionLabel[] = "1.1.1.2001";
