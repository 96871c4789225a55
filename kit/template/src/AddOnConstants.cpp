// Everything that names @NAME@, in one place.
#include "AddOn.hpp"

#include "KF/KF_AddonConstants.hpp"

KF_DEFINE_ADDON_CONSTANTS("@NAME@",           // name: dialog titles
                          "@NAME@_10",        // private settings file
                          false,              // the language of the whole family (shared store)
                          "jap rus",          // languages beyond Spanish that @NAME@ has texts for
                          "",                 // the language dialog offers all seven
                          "updates.example.invalid",
                          "https://www.example.invalid/")

const char kAddOn_VersionLine[] = "@NAME@ 1.0.0";
const char kAddOn_Description[] = "@NAME@, an add-on made with the KF framework.";
