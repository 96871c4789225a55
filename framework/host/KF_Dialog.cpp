// Alerts with a localized button.
#include "KF/KF_Dialog.hpp"

#include "DG.hpp"
#include "KF/KF_Language.hpp"

namespace {

GS::UniString ToUni(KF_String const& text)
{
    return text.IsNullOrEmpty() ? GS::UniString() : GS::UniString(text.Units(), text.GetLength());
}

} // namespace

void KF_Dialog::ShowAlert(short kind, KF_String const& first, KF_String const& second, KF_String const& third)
{
    KF_String const button = KF_Resource_GetString(
        static_cast<short>(KF_Resource_FrameworkStrings + gKF_Language), 64, true);
    // The alert only informs: which button closed it does not matter.
    DGAlert(kind, ToUni(first), ToUni(second), ToUni(third), ToUni(button), GS::UniString(), GS::UniString());
}
