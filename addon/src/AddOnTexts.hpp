// Fixed texts of the add-on that are not localized (defined with the add-on's constants).
#pragma once

extern const char kAddOn_Description[];  // reported to the host beside sett_ADDON_NAME
extern const char kAddOn_VersionLine[];  // handed to the language dialog
extern const char kAddOn_VersionLabel[]; // item 9 of the main dialog, the same in every language
