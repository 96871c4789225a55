// Rendering engines: a list of menu texts (the configuration's, or three of our own) and the
// current engine (1-based; the first by default).
// Every change an add-on asks for is written to the transcript.
#include "TableEntries.hpp"
#include "kfhost/Text.hpp"

#include <string>
#include <vector>

namespace kfhost::detail {
namespace {

struct RenderingState : TableEntryState {
    bool configured = false;
    std::vector<std::string> engines; // UTF-8 menu texts; engine n is engines[n - 1]
    std::int32_t current = 0;
};

RenderingState& StateOf(Host& host)
{
    RenderingState& state = host.EntryState<RenderingState>();
    if (state.configured)
        return state;
    state.configured = true;
    const HostConfig& config = host.Config();
    state.engines = config.renderingEngines.value_or(
        std::vector<std::string>{"Basic Shading Engine", "Sketch Line Engine", "Photon Trace Engine"});
    state.current = state.engines.empty() ? 0 : 1;
    if (const auto current = config.currentEngine) {
        if (*current >= 0 && std::size_t(*current) <= state.engines.size())
            state.current = *current;
        else
            host.Warn("current engine " + std::to_string(*current) + " ignored: no such engine");
    }
    return state;
}

} // namespace

namespace entry {

KF_Err GetRenderingSets(KF_HostContext* c, std::int32_t* currentEngine, std::int32_t* engineCount)
{
    const RenderingState& state = StateOf(HostOf(c));
    if (currentEngine)
        *currentEngine = state.current;
    if (engineCount)
        *engineCount = std::int32_t(state.engines.size());
    return KF_NOERROR;
}

KF_Err ChangeRenderingSets(KF_HostContext* c, std::int32_t currentEngine)
{
    Host& host = HostOf(c);
    RenderingState& state = StateOf(host);
    if (currentEngine < 1 || std::size_t(currentEngine) > state.engines.size())
        return KF_APIERR_BADPARS;
    state.current = currentEngine;
    host.Log().Add("rendering engine " + std::to_string(currentEngine) + " " +
                   Quote(state.engines[std::size_t(currentEngine) - 1]));
    return KF_NOERROR;
}

std::int32_t GetRendererCount(KF_HostContext* c)
{
    return std::int32_t(StateOf(HostOf(c)).engines.size());
}

std::int32_t GetRendererMenuText(KF_HostContext* c, std::int32_t engineNumber, const KF_StringOut* out)
{
    const RenderingState& state = StateOf(HostOf(c));
    if (engineNumber < 1 || std::size_t(engineNumber) > state.engines.size())
        return 0;
    Emit(out, FromUTF8(state.engines[std::size_t(engineNumber) - 1]));
    return 1;
}

} // namespace entry

} // namespace kfhost::detail
