// Alerts with a localized button.
#include "KF/KF_Dialog.hpp"

#include "DG.hpp"
#include "KF/KF_Language.hpp"

void KF_Dialog::ShowAlert(short kind, const KF_String& first, const KF_String& second, const KF_String& third)
{
    const KF_String button =
        KF_Resource_GetString(static_cast<short>(KF_Resource_FrameworkStrings + gKF_Language), 64, true);
    // The alert only informs: which button closed it does not matter.
    DGAlert(kind, first.ToUniString(), second.ToUniString(), third.ToUniString(), button.ToUniString(),
            Base::UniString(), Base::UniString());
}
