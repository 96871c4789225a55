// How fast the host brings a bundle up, and how many dialogs it runs headless per second.
#include "kftest/InProcessHost.hpp"

#include <benchmark/benchmark.h>

namespace {

namespace fs = std::filesystem;

// From a new host to the bundle's Initialize done: resources read, dlopen, the table and the four
// entry points; then FreeData and dlclose.
void BM_LoadOneBundle(benchmark::State& state)
{
    kftest::TempFolder temp;
    kfhost::HostConfig config;
    config.frameworkFolder = temp.Path();
    for (auto _ : state) {
        kfhost::Host host(config);
        const kfhost::LoadResult result = host.LoadBundle(KF_BENCH_BUNDLE);
        if (!result.Loaded())
            state.SkipWithError(result.reason.c_str());
        host.UnloadAll();
    }
}
BENCHMARK(BM_LoadOneBundle)->Unit(benchmark::kMicrosecond);

// A modal dialog with a three-row list: opened from a menu, initialised, printed to the
// transcript, closed by a scripted click.
void BM_ModalDialogOpenAndClose(benchmark::State& state)
{
    kftest::InProcessHost host;
    host.AddResourceFolder(fs::path(KF_PROBE_RESOURCES) / "common");
    host.AddResourceFolder(fs::path(KF_PROBE_RESOURCES) / "a");
    if (!host.Load(kftest::LinkedEntryPoints(), "ProbeA").Loaded()) {
        state.SkipWithError("the probe did not load");
        return;
    }
    for (auto _ : state) {
        host.Queue("click 2\n");
        host.Menu(32500, 1);
        host.ClearTranscript();
    }
    if (!host.ScriptOk())
        state.SkipWithError(host.Failures().front().c_str());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ModalDialogOpenAndClose)->Unit(benchmark::kMicrosecond);

// A modeless dialog created, shown and closed by the add-on's own close call.
void BM_ModelessDialogOpenAndClose(benchmark::State& state)
{
    kftest::InProcessHost host;
    host.AddResourceFolder(fs::path(KF_PROBE_RESOURCES) / "common");
    host.AddResourceFolder(fs::path(KF_PROBE_RESOURCES) / "a");
    if (!host.Load(kftest::LinkedEntryPoints(), "ProbeA").Loaded()) {
        state.SkipWithError("the probe did not load");
        return;
    }
    for (auto _ : state) {
        host.Menu(32500, 2);
        host.Run("click 1\n");
        host.ClearTranscript();
    }
    if (!host.ScriptOk())
        state.SkipWithError(host.Failures().front().c_str());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ModelessDialogOpenAndClose)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
