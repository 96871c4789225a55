// A test add-on for kfhost: on the module command "SRTP" it loads its private settings store from
// the framework folder, notes how many entries it read under "RoundTrip" and saves the store, so
// that a store written by one process is read and rewritten by another.
#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonSettings.hpp"

KF_DEFINE_ADDON_CONSTANTS("Settings Round Trip", "TestAddOn", false, "jap rus", "", "127.0.0.1",
                          "https://example.invalid/")

namespace {

constexpr HostFourCC kRoundTripCommand = Base::FourCC("SRTP");

HostErrCode RoundTrip(HostHandle /*params*/, HostPtr /*resultData*/, bool /*silentMode*/)
{
    if (!KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, false)) {
        return APIERR_GENERAL;
    }
    const long count = KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon);
    KF_AddonSettings_SetLong(KF_AddonSettings_ThisAddon, KF_String("RoundTrip", KF_String::Enc_System), count, true);
    return KF_AddonSettings_Save(KF_AddonSettings_ThisAddon) ? NoError : APIERR_GENERAL;
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    envir->addOnInfo.name = Base::UniString::FromUTF8("Settings Round Trip");
    envir->addOnInfo.description = Base::UniString::FromUTF8("Reads and rewrites its settings store.");
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    return HostAPI_Register_SupportedService(kRoundTripCommand, 1);
}

HostErrCode Initialize()
{
    return HostAPI_Install_ModulCommandHandler(kRoundTripCommand, 1, RoundTrip);
}

HostErrCode FreeData()
{
    return NoError;
}
