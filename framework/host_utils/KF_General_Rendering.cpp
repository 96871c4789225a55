// The host's rendering engine, checked and chosen by a part of its menu text.
#include "KF/KF_General.hpp"

namespace {

KF_String EngineMenuText(Int32 engine)
{
    char text[256] = {};
    if (!EXPGetRendMenuStr(engine, text, sizeof text)) {
        text[0] = '\0';
    }
    return KF_String(text, KF_String::Enc_System);
}

bool MenuTextHolds(Int32 engine, const KF_String& name)
{
    return EngineMenuText(engine).IndexOfIgnoreCase(name, 0) != KF_String::NotFound;
}

} // namespace

short KF_General::CheckCurrentRenderingEngine(const KF_String& engineName)
{
    API_RenderingSets sets{};
    if (HostAPI_Environment(HostEnv_GetRenderingSets, &sets) != NoError) {
        return -1;
    }
    if (sets.currentEngine < 1) {
        return 0;
    }
    return MenuTextHolds(sets.currentEngine, engineName) ? 1 : 0;
}

bool KF_General::SetRenderingEngine(const KF_String& engineName)
{
    Int32 chosen = 0;
    for (Int32 engine = 1; engine <= EXPGetRendNum(); ++engine) {
        if (MenuTextHolds(engine, engineName)) {
            chosen = engine;
            break;
        }
    }
    if (chosen == 0) {
        return false;
    }
    API_RenderingSets sets{};
    if (HostAPI_Environment(HostEnv_GetRenderingSets, &sets) != NoError) {
        return false;
    }
    if (sets.currentEngine == chosen) {
        return true;
    }
    sets.currentEngine = chosen;
    return HostAPI_Environment(HostEnv_ChangeRenderingSets, &sets) == NoError;
}
