// Everything that names @NAME@, in one place.
#include "AddOn.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KFKit/VersionLine.hpp"

KF_DEFINE_ADDON_CONSTANTS("@NAME@",           // name: dialog titles
                          "@NAME@_10",        // private settings file
                          false,              // the language of the whole family (shared store)
                          "jap rus",          // languages beyond Spanish that @NAME@ has texts for
                          "",                 // the language dialog offers all seven
                          "updates.example.invalid",
                          "https://www.example.invalid/")

// The line of the versions file that names this release: "CODE a.b.c.d (HVn) DD/MM/YYYY" (code,
// version, host version, release date), checked when this file compiles.
KF_DEFINE_VERSION_LINE(kAddOn_VersionLine, "@VERSION_LINE@");
const char kAddOn_Description[] = "@NAME@, an add-on made with the KF framework.";
