// Asks the family's suite add-on whether it is loaded.
#include "Samples.hpp"

#include "KF/KF_Comm.hpp"
#include "KF/KF_Dialog.hpp"

void TellSuite()
{
    bool answered = false;
    bool const loaded = KF_Comm::SuiteIsLoaded(answered);
    KF_Dialog::ShowAlert(-1, KF_String(""), KF_String(loaded ? "The suite is loaded." : "The suite is not loaded."),
                         KF_String(""));
}
