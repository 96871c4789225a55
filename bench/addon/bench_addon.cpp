// Start-up of Orvella Forge in the stand-in host, up to the first main dialog shown headless.
//
// In-process (BM_StartToMainDialog): the host library loads the bundle step by step as kfhost
// does (dlopen, entry symbols, resource folder, table, entry points), with the entry points
// wrapped by timers, then sends the menu command; a dialog backend stops the clock when the
// main dialog is shown. Counters split the time: dlopen (with the libraries the bundle needs),
// reading the resource folder, the three load entry points (and their share of the whole), and
// the menu command up to the dialog shown.
// As a program (BM_KfhostProgram): the kfhost binary started on a one-line script, to exit.
#include "kfhost/Host.hpp"
#include "kftest/Files.hpp"
#include "kftest/SettingsFiles.hpp"

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

const fs::path kBundle = KF_BENCH_FORGE_BUNDLE;
const fs::path kHost = KF_BENCH_KFHOST;

// A framework folder holding a stored language, so that the menu command shows the main dialog
// at once (a later run; the first run would wait on the language question).
struct Folder {
    Folder() { kftest::WriteSettingsFile(path / "Quadrelle.cfg", {{"Language_str", "int"}}); }

    kftest::TempFolder temp;
    const fs::path& path = temp.Path();
};

// Time spent inside the add-on's load entry points.
Clock::duration sInEntryPoints{};
KF_CheckEnvironmentFn sCheckEnvironment;
KF_RegisterInterfaceFn sRegisterInterface;
KF_InitializeFn sInitialize;

template <typename F>
auto Timed(F&& call)
{
    const auto start = Clock::now();
    auto result = call();
    sInEntryPoints += Clock::now() - start;
    return result;
}
int32_t TimedCheckEnvironment(KF_EnvirRecord* envir)
{
    return Timed([&] { return sCheckEnvironment(envir); });
}
KF_Err TimedRegisterInterface()
{
    return Timed([] { return sRegisterInterface(); });
}
KF_Err TimedInitialize(void* client)
{
    return Timed([&] { return sInitialize(client); });
}

// Stops the clock when the main dialog is shown, then closes it as the close box would.
class StopAtMainDialog final : public kfhost::DialogBackend {
public:
    explicit StopAtMainDialog(kfhost::Host& host) : host_(host) {}
    std::optional<Clock::time_point> shown;
    void Shown(kfhost::Dialog& dialog) override
    {
        if (dialog.resID == 32500 && !shown)
            shown = Clock::now();
    }
    void RunModal(kfhost::Dialog& dialog) override { host_.Dialogs().CloseBox(dialog); }
    void Closed(kfhost::Dialog&) override {}
    std::int16_t Alert(const kfhost::AlertRequest&) override { return 1; }
    std::optional<kfhost::FileAnswer> ChooseFile(const kfhost::FileRequest&) override { return std::nullopt; }
    std::optional<std::u16string> ChooseFolder(const kfhost::FolderRequest&) override { return std::nullopt; }

private:
    kfhost::Host& host_;
};

void BM_StartToMainDialog(benchmark::State& state)
{
    Folder folder;
    const fs::path library = kBundle / (kBundle.stem().string() + ".so");
    // The add-on's library cannot be unloaded (it carries unique symbols of the C++ library), so
    // each iteration loads a copy of its own, as a fresh host would load it.
    int copies = 0;
    double entrySeconds = 0, totalSeconds = 0, dlopenSeconds = 0, resourceSeconds = 0, menuSeconds = 0;
    for (auto _ : state) {
        const fs::path copy = folder.path / ("forge-" + std::to_string(++copies) + ".so");
        fs::copy_file(library, copy, fs::copy_options::overwrite_existing);
        sInEntryPoints = {};
        const auto start = Clock::now();
        void* handle = ::dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            state.SkipWithError("cannot dlopen the bundle");
            return;
        }
        KF_AddOnEntry entry = *static_cast<const KF_AddOnEntry*>(::dlsym(handle, KF_ADDON_ENTRY_SYMBOL));
        sCheckEnvironment = entry.checkEnvironment;
        sRegisterInterface = entry.registerInterface;
        sInitialize = entry.initialize;
        entry.checkEnvironment = TimedCheckEnvironment;
        entry.registerInterface = TimedRegisterInterface;
        entry.initialize = TimedInitialize;
        const auto opened = Clock::now();
        std::optional<Clock::time_point> shown;
        Clock::time_point read, menu;
        {
            kfhost::HostConfig config;
            config.frameworkFolder = folder.path;
            kfhost::Host host(config);
            auto backend = std::make_unique<StopAtMainDialog>(host);
            StopAtMainDialog* stop = backend.get();
            host.SetDialogBackend(std::move(backend));
            kfhost::ResourceModule resources = kfhost::LoadResourceFolder(kBundle / "Resources");
            read = Clock::now();
            const kfhost::LoadResult loaded = host.LoadInProcess(entry, std::move(resources), kBundle);
            if (!loaded.Loaded()) {
                state.SkipWithError(("not loaded: " + loaded.reason).c_str());
                ::dlclose(handle);
                return;
            }
            menu = Clock::now();
            host.MenuCommand(32501, 1);
            shown = stop->shown;
        }
        ::dlclose(handle);
        if (!shown) {
            state.SkipWithError("the main dialog was not shown");
            return;
        }
        const double total = std::chrono::duration<double>(*shown - start).count();
        state.SetIterationTime(total);
        totalSeconds += total;
        entrySeconds += std::chrono::duration<double>(sInEntryPoints).count();
        dlopenSeconds += std::chrono::duration<double>(opened - start).count();
        resourceSeconds += std::chrono::duration<double>(read - opened).count();
        menuSeconds += std::chrono::duration<double>(*shown - menu).count();
    }
    auto perIteration = [](double seconds) {
        return benchmark::Counter(seconds * 1e6, benchmark::Counter::kAvgIterations);
    };
    state.counters["dlopen_us"] = perIteration(dlopenSeconds);
    state.counters["resources_us"] = perIteration(resourceSeconds);
    state.counters["menu_to_dialog_us"] = perIteration(menuSeconds);
    state.counters["entry_points_us"] = perIteration(entrySeconds);
    state.counters["entry_points_share"] = benchmark::Counter(totalSeconds > 0 ? entrySeconds / totalSeconds : 0);
}
BENCHMARK(BM_StartToMainDialog)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(40)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_KfhostProgram(benchmark::State& state)
{
    Folder folder;
    const fs::path script = folder.path / "open.kfs";
    std::ofstream(script) << "menu 32501 1\nexpect dialog 32500\nclick 2\n";
    std::vector<std::string> args = {kHost.string(),       "--addon",  kBundle.string(), "--framework-folder",
                                     folder.path.string(), "--script", script.string()};
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    for (auto _ : state) {
        pid_t pid = 0;
        if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
            state.SkipWithError("cannot start kfhost");
            break;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("kfhost failed");
            break;
        }
    }
    posix_spawn_file_actions_destroy(&actions);
}
BENCHMARK(BM_KfhostProgram)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
