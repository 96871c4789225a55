// Counts the uses of the menu in the add-on's own settings store.
#include "Samples.hpp"

#include "KF/KF_AddonSettings.hpp"

long CountUse()
{
    long uses = 0;
    KF_AddonSettings_GetLong(KF_AddonSettings_ThisAddon, KF_String("Uses"), &uses, true);
    ++uses;
    KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, KF_String("Uses"),
                                 KF_String::LongToString(uses, 0), true);
    return uses;
}
