// Shows the notes that travel with the add-on's resources.
#include "Samples.hpp"

#include "KF/KF_Dialog.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_Location.hpp"

void ShowNotes()
{
    KF_Location const notes(KF_Location::AddOnLocation(false).path + "/Resources/notes.txt");
    KF_String text;
    bool exists = false;
    if (KF_File::ReadFullText(notes, text, KF_String::Enc_UTF8, &exists) != 0 || !exists)
        text = "No notes.";
    KF_Dialog::ShowAlert(-1, KF_String(""), text, KF_String(""));
}
