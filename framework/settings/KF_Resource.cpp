// Localized strings of the add-on's resource module, by language.
#include "KF/KF_Language.hpp"

#include "HostAPI.hpp"

namespace {

bool ReadLocalized(short resource, long index, KF_String& out)
{
    Base::UniString text;
    if (!HostAPI_Resource_GetLocUStr(&text, resource, static_cast<short>(index))) {
        return false;
    }
    out = KF_String(text.ToUStr());
    return true;
}

} // namespace

KF_String KF_Resource_GetString(short resource, long index, bool addOnStrings)
{
    const HostResModule previous = HostAPI_UseOwnResModule();
    KF_String result;
    // The international resource of the same group: base + 1.
    const auto international = static_cast<short>(resource + 1 - gKF_Language);
    if (resource >= KF_Resource_FrameworkStrings) {
        if (!ReadLocalized(resource, index, result) &&
            (gKF_Language == KF_Language_Int || !ReadLocalized(international, index, result))) {
            result = KF_String("_ERR_NO_", KF_String::Enc_System);
        }
    } else if (!addOnStrings) {
        result = KF_String("_ERR_DPT_", KF_String::Enc_System);
    } else if (!ReadLocalized(resource, index, result) && !ReadLocalized(international, index, result)) {
        char fixed[256] = {};
        HostAPI_Resource_GetFixStr(fixed, sizeof fixed, resource, static_cast<short>(index));
        result = KF_String("_ERR_NO_", KF_String::Enc_System);
    }
    HostAPI_ResetResModule(previous);
    return result;
}
