// The standard dialogs of every framework add-on: an informing alert with a localized button and
// a file chooser for opening one file.
#pragma once

#include "FTM.hpp"
#include "KF/KF_List.hpp"
#include "KF/KF_Location.hpp"
#include "KF/KF_String.hpp"

class KF_Dialog {
public:
    // Shows the three texts (empty ones stay empty) with the localized "OK"; the framework puts
    // its message in the second text and passes kind -1.
    static void ShowAlert(short kind, const KF_String& first, const KF_String& second, const KF_String& third);

    // The host's open-file dialog, filtered by types in list order (null: unfiltered). False when
    // the user cancels or the dialog cannot be shown; file is then left as it was. chosenType
    // (may be null) receives the position of the filter the user had chosen.
    static bool OpenFile(KF_Location& file, const KF_Location* startFolder, const KF_String& title,
                         KF_List<FTM::GeneralID>* types, long* chosenType);
    // The same for one file type described here.
    static bool OpenFile(KF_Location& file, const char* typeDescription, const char* extension, long typeCode,
                         const KF_String& title, const KF_Location* startFolder);
};
