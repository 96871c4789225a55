// kfhost's whole-process start-up beside /bin/true's, both started the same way (posix_spawn from
// this process, output to /dev/null, waited for) and alternately in each iteration, so that the
// ratio holds whatever else the machine is doing. The time column is kfhost's wall time from
// start to exit; `true_ms` is /bin/true's in the same iterations and `ratio` the one over the
// other. `cpu_ms` and `cpu_ratio` are the same for the CPU time the children used (user and
// system), which a busy machine disturbs less.
#include "kftest/Files.hpp"
#include "kftest/SettingsFiles.hpp"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// A program with its arguments, started and waited for; its output goes nowhere.
class Program {
public:
    explicit Program(std::vector<std::string> args) : args_(std::move(args))
    {
        for (auto& a : args_)
            argv_.push_back(a.data());
        argv_.push_back(nullptr);
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, 2, "/dev/null", O_WRONLY, 0);
    }
    ~Program() { posix_spawn_file_actions_destroy(&actions_); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    struct Took {
        double wall = -1; // seconds from start to exit; negative when it failed
        double cpu = 0;   // seconds of CPU, user and system
    };
    // Fails (wall < 0) when the program did not start or did not exit with 0.
    Took Run()
    {
        const auto start = Clock::now();
        pid_t pid = 0;
        if (posix_spawn(&pid, argv_[0], &actions_, nullptr, argv_.data(), environ) != 0)
            return {};
        int status = 0;
        rusage usage{};
        if (::wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
            return {};
        auto seconds = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) * 1e-6; };
        return {std::chrono::duration<double>(Clock::now() - start).count(),
                seconds(usage.ru_utime) + seconds(usage.ru_stime)};
    }

private:
    std::vector<std::string> args_;
    std::vector<char*> argv_;
    posix_spawn_file_actions_t actions_;
};

void Compare(benchmark::State& state, std::vector<std::string> kfhostArgs)
{
    kfhostArgs.insert(kfhostArgs.begin(), KF_BENCH_KFHOST);
    Program kfhost(std::move(kfhostArgs));
    Program truth({"/bin/true"});
    Program::Took kfhostTotal{0, 0}, trueTotal{0, 0};
    for (auto _ : state) {
        const Program::Took t = truth.Run();
        const Program::Took k = kfhost.Run();
        if (t.wall < 0 || k.wall < 0) {
            state.SkipWithError(t.wall < 0 ? "/bin/true failed" : "kfhost failed");
            return;
        }
        state.SetIterationTime(k.wall);
        kfhostTotal.wall += k.wall;
        kfhostTotal.cpu += k.cpu;
        trueTotal.wall += t.wall;
        trueTotal.cpu += t.cpu;
    }
    const double n = double(state.iterations());
    state.counters["true_ms"] = 1e3 * trueTotal.wall / n;
    state.counters["ratio"] = kfhostTotal.wall / trueTotal.wall;
    state.counters["cpu_ms"] = 1e3 * kfhostTotal.cpu / n;
    state.counters["true_cpu_ms"] = 1e3 * trueTotal.cpu / n;
    state.counters["cpu_ratio"] = kfhostTotal.cpu / trueTotal.cpu;
}

// `kfhost --help`: the program's own start-up and its command line, nothing loaded.
void BM_StartupHelp(benchmark::State& state)
{
    Compare(state, {"--help"});
}
BENCHMARK(BM_StartupHelp)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

// The add-on loaded headless, its main dialog opened from its menu and closed, the add-on
// unloaded: what every scripted test of an add-on pays. A language is stored, so the menu shows
// the main dialog at once (a later run).
void BM_StartupMainDialog(benchmark::State& state)
{
    kftest::TempFolder folder;
    kftest::WriteSettingsFile(folder.Path() / "Quadrelle.cfg", {{"Language_str", "int"}});
    const fs::path script = folder.Path() / "open-close.kfs";
    kftest::WriteFile(script, "menu 32501 1\nexpect dialog 32500\nclick 2\nexpect no-dialog\n");
    Compare(state, {"--headless", "--strict", "--addon", KF_BENCH_FORGE_BUNDLE, "--framework-folder",
                    folder.Path().string(), "--script", script.string()});
}
BENCHMARK(BM_StartupMainDialog)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

} // namespace

BENCHMARK_MAIN();
