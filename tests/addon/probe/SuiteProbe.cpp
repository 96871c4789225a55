// A test add-on of the family that asks whether the suite is loaded, as the family's add-ons do,
// and tells the answer: an alert "suite loaded|suite absent, answered|not answered", and its
// communication file written with what it learnt.
#include "AddOnLinkage.hpp"
#include "DG.hpp"
#include "KF/KF_Comm.hpp"

#include <string>

namespace {

constexpr short kProbeMenu = 32600;

HostErrCode ProbeMenuHandler(const API_MenuParams* /*menuParams*/)
{
    bool answered = false;
    const bool loaded = KF_Comm::SuiteIsLoaded(answered);
    KF_Comm::AddOnFileWrite(loaded);
    std::string const text =
        std::string(loaded ? "suite loaded" : "suite absent") + ", " + (answered ? "answered" : "not answered");
    DGAlert(-1, Base::UniString(), Base::UniString::FromUTF8(text), Base::UniString(), Base::UniString::FromUTF8("OK"));
    return NoError;
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    envir->addOnInfo.name = Base::UniString::FromUTF8("Suite Probe");
    envir->addOnInfo.description = Base::UniString::FromUTF8("Tells whether the suite is loaded.");
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    return HostAPI_Register_Menu(kProbeMenu, 0, MenuCode_Tools, 0);
}

HostErrCode Initialize()
{
    return HostAPI_Install_MenuHandler(kProbeMenu, ProbeMenuHandler);
}

HostErrCode FreeData()
{
    return NoError;
}
