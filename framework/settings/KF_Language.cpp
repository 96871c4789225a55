// The language choice and its place in the settings store.
#include "KF/KF_Language.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <string>

const KF_String gKF_Languages_Suffixes[KF_Language_Count] = {
    KF_String("ita", KF_String::Enc_System), KF_String("int", KF_String::Enc_System),
    KF_String("fra", KF_String::Enc_System), KF_String("ger", KF_String::Enc_System),
    KF_String("spa", KF_String::Enc_System), KF_String("jap", KF_String::Enc_System),
    KF_String("rus", KF_String::Enc_System)};

short gKF_Language = KF_Language_Int;
bool gKF_AskLanguage = false;

namespace {

KF_AddonSettings_Type LanguageStore()
{
    return sett_ADDON_HAS_OWN_LANGUAGE ? KF_AddonSettings_ThisAddon : KF_AddonSettings_AllAddons;
}

KF_String Key(const char* name)
{
    return KF_String(name, KF_String::Enc_System);
}

// The older numeric form: 6 and above mean "int". A negative number would index outside the
// suffix table, so it is read as "int" too.
short FromLegacyNumber(const KF_String& text)
{
    const KF_CString bytes = text.ToCStr(KF_String::Enc_System);
    const long number = KF_String::ToLong(bytes.bytes != nullptr ? bytes.bytes : "");
    if (number < 0 || number >= 6) {
        return KF_Language_Int;
    }
    return static_cast<short>(number);
}

} // namespace

bool KF_Language_Exists()
{
    return KF_AddonSettings_Get(LanguageStore(), Key("Language_str"), nullptr, true) ||
           KF_AddonSettings_Get(LanguageStore(), Key("Language"), nullptr, true);
}

bool KF_Language_Read(bool reload)
{
    if (reload) {
        KF_AddonSettings_Load(KF_AddonSettings_AllAddons, false);
    }
    gKF_Language = KF_Language_Int;
    KF_String value;
    if (KF_AddonSettings_Get(LanguageStore(), Key("Language_str"), &value, true)) {
        for (short i = 0; i < KF_Language_Count; ++i) {
            if (KF_String::CompareIgnoreCase(value, 0, gKF_Languages_Suffixes[i], 0, 0) == 0) {
                gKF_Language = i;
                break;
            }
        }
    } else if (KF_AddonSettings_Get(LanguageStore(), Key("Language"), &value, true)) {
        if (!value.IsNull() && KF_String::IsNumber(value) != 0) {
            gKF_Language = FromLegacyNumber(value);
        }
    } else {
        return false;
    }
    KF_Language_CheckSupportedLanguage();
    return true;
}

void KF_Language_CheckSupportedLanguage()
{
    if (gKF_Language < 0 || gKF_Language >= KF_Language_Count) {
        gKF_Language = KF_Language_Int;
        return;
    }
    if (gKF_Language < KF_Language_Jap) {
        return;
    }
    const KF_String supported(sett_ADDON_SUPP_EXTRA_LANGUAGES, KF_String::Enc_System);
    if (supported.IndexOfIgnoreCase(gKF_Languages_Suffixes[gKF_Language], 0) == KF_String::NotFound) {
        gKF_Language = KF_Language_Int;
    }
}

void KF_Language_Write()
{
    if (gKF_Language < 0 || gKF_Language >= KF_Language_Count) {
        gKF_Language = KF_Language_Int;
    }
    KF_AddonSettings_LoadSetSave(LanguageStore(), Key("Language_str"), gKF_Languages_Suffixes[gKF_Language], true);
    KF_Language_CheckSupportedLanguage();
}
