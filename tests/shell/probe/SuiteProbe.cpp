// A test add-on of the family that asks whether the suite is loaded, as the family's add-ons do,
// and tells the answer: an alert "suite loaded|suite absent, answered|not answered", and its
// communication file written with what it learnt.
#include "AddOnLinkage.hpp"
#include "DG.hpp"
#include "KF/KF_Comm.hpp"

#include <string>

namespace {

constexpr short kProbeMenu = 32600;

GSErrCode ProbeMenuHandler(const API_MenuParams* /*menuParams*/)
{
    bool answered = false;
    const bool loaded = KF_Comm::SuiteIsLoaded(answered);
    KF_Comm::AddOnFileWrite(loaded);
    std::string const text =
        std::string(loaded ? "suite loaded" : "suite absent") + ", " + (answered ? "answered" : "not answered");
    DGAlert(-1, GS::UniString(), GS::UniString::FromUTF8(text), GS::UniString(), GS::UniString::FromUTF8("OK"));
    return NoError;
}

} // namespace

API_AddonType CheckEnvironment(API_EnvirParams* envir)
{
    envir->addOnInfo.name = GS::UniString::FromUTF8("Suite Probe");
    envir->addOnInfo.description = GS::UniString::FromUTF8("Tells whether the suite is loaded.");
    return APIAddon_Normal;
}

GSErrCode RegisterInterface()
{
    return ACAPI_Register_Menu(kProbeMenu, 0, MenuCode_Tools, 0);
}

GSErrCode Initialize()
{
    return ACAPI_Install_MenuHandler(kProbeMenu, ProbeMenuHandler);
}

GSErrCode FreeData()
{
    return NoError;
}
