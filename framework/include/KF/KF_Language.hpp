// The language of every text the add-on shows: the current choice, its place in the settings
// store, the language dialog and localized strings.
#pragma once

#include "KF/KF_List.hpp"
#include "KF/KF_String.hpp"

// Positions in gKF_Languages_Suffixes.
enum : short {
    KF_Language_Ita = 0,
    KF_Language_Int = 1, // the default
    KF_Language_Fra = 2,
    KF_Language_Ger = 3,
    KF_Language_Spa = 4,
    KF_Language_Jap = 5,
    KF_Language_Rus = 6
};
constexpr short KF_Language_Count = 7;

// String-list resources: each language has its own, at a base plus the language index.
constexpr short KF_Resource_AddOnStrings = 32530;
constexpr short KF_Resource_FrameworkStrings = 32710;

// "ita", "int", "fra", "ger", "spa", "jap", "rus".
extern const KF_String gKF_Languages_Suffixes[KF_Language_Count];
// The current language index; 1 at load.
extern short gKF_Language;
// Kept true by the add-on while the first-use language question is open.
extern bool gKF_AskLanguage;

// True when "Language_str" or the older "Language" is stored.
bool KF_Language_Exists();
// Sets gKF_Language from the store; false (language 1) when none is stored. reload reads the
// shared store from disk again first.
bool KF_Language_Read(bool reload);
// An extra language (index 5 or more) the add-on does not support falls back to 1.
void KF_Language_CheckSupportedLanguage();
// Stores the current language's suffix under "Language_str" and writes the store at once.
void KF_Language_Write();

// Runs the language dialog; true when it was accepted.
bool KF_Dlg_Language(const KF_String& versionLine);

// String index of the string-list resource, with the international and "_ERR_NO_" fall-backs;
// the add-on's own resources (below 32710) give "_ERR_DPT_" unless addOnStrings is set.
KF_String KF_Resource_GetString(short resource, long index, bool addOnStrings);
