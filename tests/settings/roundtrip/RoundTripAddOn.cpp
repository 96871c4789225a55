// A test add-on for kfhost: on the module command "SRTP" it loads its private settings store from
// the framework folder, notes how many entries it read under "RoundTrip" and saves the store, so
// that a store written by one process is read and rewritten by another.
#include "AddOnLinkage.hpp"
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_AddonSettings.hpp"

KF_DEFINE_ADDON_CONSTANTS("Settings Round Trip", "TestAddOn", false, "jap rus", "", "127.0.0.1",
                          "https://example.invalid/")

namespace {

constexpr GSType kRoundTripCommand = GS::FourCC("SRTP");

GSErrCode RoundTrip(GSHandle /*params*/, GSPtr /*resultData*/, bool /*silentMode*/)
{
    if (!KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, false)) {
        return APIERR_GENERAL;
    }
    const long count = KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon);
    KF_AddonSettings_SetLong(KF_AddonSettings_ThisAddon, KF_String("RoundTrip", KF_String::Enc_System), count, true);
    return KF_AddonSettings_Save(KF_AddonSettings_ThisAddon) ? NoError : APIERR_GENERAL;
}

} // namespace

API_AddonType CheckEnvironment(API_EnvirParams* envir)
{
    envir->addOnInfo.name = GS::UniString::FromUTF8("Settings Round Trip");
    envir->addOnInfo.description = GS::UniString::FromUTF8("Reads and rewrites its settings store.");
    return APIAddon_Normal;
}

GSErrCode RegisterInterface()
{
    return ACAPI_Register_SupportedService(kRoundTripCommand, 1);
}

GSErrCode Initialize()
{
    return ACAPI_Install_ModulCommandHandler(kRoundTripCommand, 1, RoundTrip);
}

GSErrCode FreeData()
{
    return NoError;
}
