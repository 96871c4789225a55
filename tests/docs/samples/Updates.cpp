// The user asked for an update check: the framework shows the result or the failure itself.
#include "Samples.hpp"

#include "KF/KF_AddonUpdate.hpp"

void CheckNow()
{
    KF_AddonUpdate_CheckForUpdate(0, true, KF_String(kGuide_VersionLine), KF_String(""));
}
