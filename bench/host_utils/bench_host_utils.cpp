// KF_LibPart::Index over libraries of many parts, and KF_Library::Libraries over many loaded
// libraries, each through the whole path: framework, sdk, host table and the host's catalog.
#include "KF/KF_Language.hpp"
#include "KF/KF_LibPart.hpp"
#include "kftest/InProcessHost.hpp"

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kPartsPerLibrary = 1000;

// Library folders written once per size and kept for the whole run.
struct Libraries {
    kftest::TempFolder root;
    std::vector<fs::path> folders;
    std::vector<std::string> names;
};

const Libraries& LibrariesOf(int parts, int partsPerLibrary)
{
    static std::map<std::pair<int, int>, std::unique_ptr<Libraries>> made;
    auto& slot = made[{parts, partsPerLibrary}];
    if (!slot) {
        slot = std::make_unique<Libraries>();
        for (int i = 0; i < parts; ++i) {
            if (i % partsPerLibrary == 0) {
                slot->folders.push_back(slot->root.Path() / ("Library " + std::to_string(i / partsPerLibrary)));
                fs::create_directories(slot->folders.back());
            }
            std::string const name = "Part " + std::to_string(i);
            kftest::WriteFile(slot->folders.back() / (name + ".part"), "type Object\n");
            slot->names.push_back(name);
        }
    }
    return *slot;
}

std::unique_ptr<kftest::InProcessHost> HostWith(const Libraries& libraries)
{
    gKF_Language = KF_Language_Int;
    kfhost::HostConfig config;
    config.libraries = libraries.folders;
    auto host = std::make_unique<kftest::InProcessHost>(config);
    host->Attach("Bench");
    return host;
}

void BM_LibPartIndex(benchmark::State& state)
{
    const Libraries& libraries = LibrariesOf(int(state.range(0)), kPartsPerLibrary);
    auto host = HostWith(libraries);
    // Names in upper case, so that every look-up folds.
    std::vector<KF_String> names;
    for (std::size_t i = 0; i < libraries.names.size(); i += 97)
        names.emplace_back(KF_String(libraries.names[i].c_str()).ToUpperCase());
    if (KF_LibPart::Index(names.back(), API_ObjectID) < 1)
        state.SkipWithError("the host does not find the parts");
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(KF_LibPart::Index(names[next], API_ObjectID));
        next = next + 1 == names.size() ? 0 : next + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LibPartIndex)->Arg(1000)->Arg(10000);

void BM_LibPartIndexMissing(benchmark::State& state)
{
    auto host = HostWith(LibrariesOf(int(state.range(0)), kPartsPerLibrary));
    const KF_String name("No Such Part");
    for (auto _ : state)
        benchmark::DoNotOptimize(KF_LibPart::Index(name, API_ObjectID));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LibPartIndexMissing)->Arg(10000);

void BM_LibraryList(benchmark::State& state)
{
    auto host = HostWith(LibrariesOf(int(state.range(0)), 1));
    KF_List<KF_Location> list;
    for (auto _ : state) {
        KF_Library::Libraries(list);
        benchmark::DoNotOptimize(list.count);
    }
    if (list.count != state.range(0))
        state.SkipWithError("the host does not list every library");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LibraryList)->Arg(10)->Arg(100);

} // namespace
