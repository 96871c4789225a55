// Rendering engines: a list of menu texts (the host setting "rendering-engines", one per line, or
// three of our own) and the current engine ("rendering-current", 1-based; the first by default).
// Every change an add-on asks for is written to the transcript.
#include "TableEntries.hpp"
#include "kfhost/Text.hpp"

#include <charconv>
#include <string>
#include <vector>

namespace kfhost::detail {
namespace {

struct RenderingState : ServiceState {
    bool configured = false;
    std::vector<std::string> engines; // UTF-8 menu texts; engine n is engines[n - 1]
    std::int32_t current = 0;
};

RenderingState& StateOf(Host& host)
{
    RenderingState& state = host.Service<RenderingState>();
    if (state.configured)
        return state;
    state.configured = true;
    if (const char* list = host.Setting("rendering-engines")) {
        std::string_view rest = list;
        while (!rest.empty()) {
            std::size_t const end = rest.find('\n');
            std::string_view const line = rest.substr(0, end);
            if (!line.empty())
                state.engines.emplace_back(line);
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        }
    } else {
        state.engines = {"Basic Shading Engine", "Sketch Line Engine", "Photon Trace Engine"};
    }
    state.current = state.engines.empty() ? 0 : 1;
    if (const char* current = host.Setting("rendering-current")) {
        std::string_view const text = current;
        std::int32_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error == std::errc() && end == text.data() + text.size() && number >= 0 &&
            std::size_t(number) <= state.engines.size())
            state.current = number;
        else
            host.Warn("rendering-current " + Quote(text) + " ignored: no such engine");
    }
    return state;
}

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

} // namespace

void FillRenderingEntries(KF_HostTable& t)
{
    t.GetRenderingSets = GetRenderingSets;
    t.ChangeRenderingSets = ChangeRenderingSets;
    t.GetRendererCount = GetRendererCount;
    t.GetRendererMenuText = GetRendererMenuText;
}

} // namespace kfhost::detail
