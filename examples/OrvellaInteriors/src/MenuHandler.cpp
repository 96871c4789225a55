// The example's menu: each item uses one of the framework's host utilities and tells the outcome
// in an alert.
#include "LibPartsExample.hpp"

#include "KF/KF_Dialog.hpp"
#include "KF/KF_General.hpp"
#include "KF/KF_Language.hpp"
#include "KF/KF_LibPart.hpp"

namespace {

bool sMenuUsed = false;

KF_String Text(short index)
{
    return KF_Resource_GetString(static_cast<short>(KF_Resource_AddOnStrings + gKF_Language), index, true);
}

// A text with ^1 and ^2 filled in.
KF_String Text(short index, const KF_String& first, const KF_String& second = KF_String(""))
{
    return Text(index).Replace(KF_String("^1"), first).Replace(KF_String("^2"), second);
}

void Tell(const KF_String& message)
{
    KF_Dialog::ShowAlert(-1, KF_String(""), message, KF_String(""));
}

KF_String LastName(const KF_String& path)
{
    const unsigned int slash = path.LastIndexOf('/');
    return slash == KF_String::NotFound ? path : path.Substring(slash + 1);
}

// The framework tells the user itself when the part cannot be had.
void FindSuitePart()
{
    const KF_String name(kLibParts_SuitePart);
    long index = -1;
    if (!KF_General::GetLPIdxFullLib(name, index, true, KF_String(""), API_ObjectID))
        return;
    KF_Location file;
    KF_LibPart::Location(index, file);
    const KF_String folder = file.path.Substring(0, file.path.LastIndexOf('/'));
    Tell(Text(kLibParts_FoundText, name, LastName(folder)));
}

void FindBuiltInPart()
{
    const KF_String name(kLibParts_BuiltInPart);
    Tell(Text(KF_LibPart::Index(name, API_LampID) != -1 ? kLibParts_BuiltInText : kLibParts_NoBuiltInText, name));
}

void ShowProjectTitle()
{
    KF_String title;
    bool untitled = true;
    if (KF_General::HostProjectTitle(title, &untitled) && !untitled)
        Tell(Text(kLibParts_ProjectText, title));
    else
        Tell(Text(kLibParts_UntitledText));
}

void UseSketchEngine()
{
    const KF_String engine(kLibParts_Engine);
    if (KF_General::SetRenderingEngine(engine))
        Tell(Text(kLibParts_EngineText, engine));
    else
        Tell(Text(kLibParts_NoEngineText, engine));
}

void OpenReadMe()
{
    KF_Location readMe = KF_Location::AddOnLocation(false);
    readMe.path += "/";
    readMe.path += kLibParts_ReadMe;
    if (!KF_General::LaunchDocByLoc(readMe))
        Tell(Text(kLibParts_NoReadMeText));
}

} // namespace

HostErrCode LibParts_MenuHandler(const API_MenuParams* params)
{
    if (params == nullptr)
        return APIERR_BADPARS;
    if (!sMenuUsed) {
        sMenuUsed = true;
        KF_Language_Read(true);
    }
    switch (params->menuItemRef.itemIndex) {
    case kLibParts_FindSuitePartItem:
        FindSuitePart();
        break;
    case kLibParts_ProjectTitleItem:
        ShowProjectTitle();
        break;
    case kLibParts_SketchEngineItem:
        UseSketchEngine();
        break;
    case kLibParts_ReadMeItem:
        OpenReadMe();
        break;
    case kLibParts_FindBuiltInPartItem:
        FindBuiltInPart();
        break;
    default:
        break;
    }
    return NoError;
}
