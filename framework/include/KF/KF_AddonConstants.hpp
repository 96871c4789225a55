// Per-add-on build constants. Every add-on of the framework defines each of these once, in one
// file of its own (see KF_DEFINE_ADDON_CONSTANTS); the framework only reads them.
#pragma once

extern char sett_ADDON_NAME[64];                 // display name: dialog titles, update page query
extern char sett_ADDON_SETTINGS_FILE_NAME[32];   // base name of the private settings file (name + "_10")
extern bool sett_ADDON_HAS_OWN_LANGUAGE;         // false: the language lives in the shared store
extern char sett_ADDON_SUPP_EXTRA_LANGUAGES[64]; // suffixes beyond index 4 the add-on supports, blank-separated
extern char sett_ADDON_SHOWED_LANGUAGES[64];     // suffixes offered by the language dialog; empty = all
extern char sett_ADDON_UPDATE_SERVER[128];       // update server name (host[:port]); the host may override it
extern char sett_ADDON_WEB_SITE[128];            // the maker's web site home page (full URL)

// Defines the constants of one add-on in one place.
#define KF_DEFINE_ADDON_CONSTANTS(name, settingsFile, ownLanguage, extraLanguages, showedLanguages, updateServer,      \
                                  webSite)                                                                             \
    char sett_ADDON_NAME[64] = name;                                                                                   \
    char sett_ADDON_SETTINGS_FILE_NAME[32] = settingsFile;                                                             \
    bool sett_ADDON_HAS_OWN_LANGUAGE = ownLanguage;                                                                    \
    char sett_ADDON_SUPP_EXTRA_LANGUAGES[64] = extraLanguages;                                                         \
    char sett_ADDON_SHOWED_LANGUAGES[64] = showedLanguages;                                                            \
    char sett_ADDON_UPDATE_SERVER[128] = updateServer;                                                                 \
    char sett_ADDON_WEB_SITE[128] = webSite;
