// Library part look-ups that tell the user when the part cannot be had.
#include "KF/KF_General.hpp"

#include "KF/KF_Dialog.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_LibPart.hpp"

namespace {

bool Answer(long index, bool showError, const KF_String& errorText)
{
    if (index >= 0) {
        return true;
    }
    if (!showError) {
        return false;
    }
    // Only the empty text asks for the default one; a null text is shown as it is.
    const KF_String text =
        errorText == KF_String("", KF_String::Enc_System)
            ? KF_Resource_GetString(static_cast<short>(KF_Resource_FrameworkStrings + gKF_Language), 85, true)
            : errorText;
    KF_Dialog::ShowAlert(-1, KF_String(""), text, KF_String(""));
    return false;
}

} // namespace

bool KF_General::GetLPIdxFullLib(const KF_String& name, long& index, bool showError, const KF_String& errorText,
                                 API_LibTypeID type)
{
    index = KF_LibPart::IndexFullLib(name, type);
    return Answer(index, showError, errorText);
}

bool KF_General::GetLPIdxFullLibNoCheckLibs(const KF_String& name, long& index, bool showError,
                                            const KF_String& errorText, API_LibTypeID type)
{
    index = KF_LibPart::IndexFullLibNoCheckLibs(name, type);
    return Answer(index, showError, errorText);
}
