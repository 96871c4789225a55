// Everything that names the example add-on, in one place.
#include "LibPartsExample.hpp"

#include "KF/KF_AddonConstants.hpp"

#define LIBPARTS_NAME "Orvella Interiors"

KF_DEFINE_ADDON_CONSTANTS(LIBPARTS_NAME, LIBPARTS_NAME "_10",
                          false, // the family's language, from the shared store
                          "jap rus", "", "updates.orvella.example", "https://www.orvella.example/")

const char kLibParts_Description[] = "Furniture from the Tavolo library, and a few host utilities.";
const char kLibParts_SuitePart[] = "Tavolo Chair";
const char kLibParts_BuiltInPart[] = "Interiors Lamp";
const char kLibParts_Engine[] = "sketch";
const char kLibParts_ReadMe[] = "ReadMe.txt";
