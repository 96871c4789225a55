// The one-entry message of an add-on communication file.
#include "KF_CommDetail.hpp"

#include "KF_SettingsFormat.hpp"
#include "KF/KF_AddonSettings.hpp"

namespace kf::detail {

std::string KF_Comm_BuildMessage(bool suiteLoaded)
{
    std::string text;
    KF_Settings_AppendPlain(text, "Tavolo Loaded", suiteLoaded ? "TRUE" : "FALSE");
    KF_Settings_SwapHalves(text.data(), text.size());
    return text;
}

bool KF_Comm_ReadMessage(const char* bytes, std::size_t size)
{
    KF_List<KF_Setting> entries;
    if (!KF_Settings_ParseFile(bytes, size, entries) || entries.count != 1) {
        return false;
    }
    // The name is deliberately not checked: one entry is the whole message.
    return KF_String::Compare(entries[0].value, 0, KF_String("TRUE", KF_String::Enc_System), 0, 0) == 0;
}

} // namespace kf::detail
