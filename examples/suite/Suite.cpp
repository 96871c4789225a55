// Tavolo, a stand-in for the family's suite add-on: it only announces the module command "SUIT"
// and answers it, which is how the family's add-ons learn that the suite is loaded.
#include "AddOnLinkage.hpp"

namespace {

constexpr GSType kSuiteCommand = GS::FourCC("SUIT");
constexpr Int32 kSuiteCommandVersion = 0;

GSErrCode SuiteCommandHandler(GSHandle /*params*/, GSPtr /*resultData*/, bool /*silentMode*/)
{
    return NoError;
}

GS::UniString Text(const char* utf8)
{
    return GS::UniString::FromUTF8(utf8);
}

} // namespace

API_AddonType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != APIAppl_MainID)
        return APIAddon_DontRegister;
    envir->addOnInfo.name = Text("Tavolo");
    envir->addOnInfo.description = Text("Lets the Orvella add-ons know that their suite is loaded.");
    return APIAddon_Normal;
}

GSErrCode RegisterInterface()
{
    return ACAPI_Register_SupportedService(kSuiteCommand, kSuiteCommandVersion);
}

GSErrCode Initialize()
{
    return ACAPI_Install_ModulCommandHandler(kSuiteCommand, kSuiteCommandVersion, SuiteCommandHandler);
}

GSErrCode FreeData()
{
    return NoError;
}
