// Tavolo, a stand-in for the family's suite add-on: it only announces the module command "SUIT"
// and answers it, which is how the family's add-ons learn that the suite is loaded.
#include "AddOnLinkage.hpp"

namespace {

constexpr HostFourCC kSuiteCommand = Base::FourCC("SUIT");
constexpr Int32 kSuiteCommandVersion = 0;

HostErrCode SuiteCommandHandler(HostHandle /*params*/, HostPtr /*resultData*/, bool /*silentMode*/)
{
    return NoError;
}

Base::UniString Text(const char* utf8)
{
    return Base::UniString::FromUTF8(utf8);
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir == nullptr || envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    envir->addOnInfo.name = Text("Tavolo");
    envir->addOnInfo.description = Text("Lets the Orvella add-ons know that their suite is loaded.");
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    return HostAPI_Register_SupportedService(kSuiteCommand, kSuiteCommandVersion);
}

HostErrCode Initialize()
{
    return HostAPI_Install_ModulCommandHandler(kSuiteCommand, kSuiteCommandVersion, SuiteCommandHandler);
}

HostErrCode FreeData()
{
    return NoError;
}
