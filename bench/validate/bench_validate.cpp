// What validation costs: `kfhost validate` on the add-on (the whole command, as CI runs it) beside
// the start of a process that does nothing, and one check in a forked child of its own (as the
// validator runs each) beside the same check in this process and beside an empty child.
#include "ChildProcess.hpp"
#include "kfhost/validate/Validate.hpp"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <string>
#include <vector>

extern char** environ;

namespace {

// Runs argv with its output on /dev/null; answers its exit status.
int Run(const std::vector<std::string>& argv)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {1, 2})
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_WRONLY, 0);
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t pid = 0;
    int status = -1;
    if (posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ) == 0)
        waitpid(pid, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    return status;
}

class Scratch {
public:
    Scratch()
    {
        // In memory, as kfhost validate makes its own.
        std::string pattern = "/dev/shm/kfbench-XXXXXX";
        if (mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~Scratch()
    {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    std::string Path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

// The reference of the whole command: a process started and ended the same way.
void BM_StartTrue(benchmark::State& state)
{
    for (auto _ : state)
        if (Run({"/bin/true"}) != 0)
            state.SkipWithError("/bin/true failed");
}
BENCHMARK(BM_StartTrue)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ValidateAddOn(benchmark::State& state)
{
    const std::vector<std::string> argv{KF_KFHOST, "validate", "--strictness", std::to_string(state.range(0)),
                                        "--seed",  "1",        KF_ADDON_BUNDLE};
    for (auto _ : state)
        if (Run(argv) != 0)
            state.SkipWithError("kfhost validate failed on the add-on");
}
BENCHMARK(BM_ValidateAddOn)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();

// The menus check: loads the add-on, plays every menu item and command, unloads it; in a child
// forked from this prepared process, as kfhost validate runs each check.
void BM_CheckIsolated(benchmark::State& state)
{
    for (auto _ : state)
        if (!kfhost::validate::RunCheckIsolated("menus", KF_ADDON_BUNDLE, 5, 1))
            state.SkipWithError("the check failed");
}
BENCHMARK(BM_CheckIsolated)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CheckInProcess(benchmark::State& state)
{
    const Scratch scratch;
    for (auto _ : state)
        if (!kfhost::validate::RunCheckHere("menus", KF_ADDON_BUNDLE, scratch.Path(), 5, 1))
            state.SkipWithError("the check failed");
}
BENCHMARK(BM_CheckInProcess)->Unit(benchmark::kMillisecond)->UseRealTime();

// What isolation itself costs: a child that does nothing, forked, waited for and ended as a check's.
void BM_EmptyChild(benchmark::State& state)
{
    for (auto _ : state)
        kfhost::validate::RunChild([](int) { return 0; }, {5});
}
BENCHMARK(BM_EmptyChild)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
