// Crashes and hangs are named: kfhost runs two fault probes, one of them does something fatal, and
// kfhost says which add-on and which call before it ends with its documented exit code. An
// exception in the same place ends nothing.
#include "kfhost/Calls.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <fstream>
#include <iterator>

extern char** environ;

namespace {

namespace fs = std::filesystem;

struct HostRun {
    int status = -1;
    std::string out, err;
};

std::string Read(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// kfhost with both fault probes loaded, on script, with KF_FAULT_AT=faultAt.
HostRun RunKfhost(const kftest::TempFolder& temp, const std::string& script, const std::string& faultAt,
                  std::vector<std::string> options)
{
    const fs::path scriptFile = temp.Path() / "script.kfs";
    std::ofstream(scriptFile) << script;
    std::vector<std::string> args{KFHOST,
                                  "--addon",
                                  KF_FAULT_ADDONS "/FaultA.bundle",
                                  "--addon",
                                  KF_FAULT_ADDONS "/FaultB.bundle",
                                  "--framework-folder",
                                  (temp.Path() / "fw").string(),
                                  "--script",
                                  scriptFile.string()};
    args.insert(args.end(), options.begin(), options.end());
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> env{"KF_FAULT_AT=" + faultAt};
    for (char** e = environ; *e; ++e)
        if (!std::string_view(*e).starts_with("KF_FAULT_AT="))
            env.emplace_back(*e);
    std::vector<char*> envp;
    for (auto& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    const fs::path out = temp.Path() / "out.txt", err = temp.Path() / "err.txt";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return {};
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), Read(out), Read(err)};
}

TEST(Crashes, AreNamedWithTheAddOnAndTheCall)
{
    struct Case {
        const char* what;
        std::string faultAt;
        std::string script;
        std::vector<std::string> options;
        int status;
        std::string err; // stderr ends with it
    };
    const Case cases[] = {
        {"null dereference in a menu handler",
         "",
         "menu 32500 1 \"Fault B\"\n",
         {},
         kfhost::kExitAddOnCrashed,
         "kfhost: Fault B crashed in menu handler 32500 item 1 (signal 11)\n"},
        {"abort in a menu handler",
         "",
         "menu 32500 2 \"Fault A\"\n",
         {},
         kfhost::kExitAddOnCrashed,
         "kfhost: Fault A crashed in menu handler 32500 item 2 (signal 6)\n"},
        {"endless loop",
         "",
         "menu 32500 3 \"Fault B\"\n",
         {"--timeout", "1"},
         kfhost::kExitAddOnHung,
         "kfhost: Fault B did not return from menu handler 32500 item 3 within 1 s\n"},
        {"deep recursion",
         "",
         "menu 32500 4 \"Fault A\"\n",
         {},
         kfhost::kExitAddOnCrashed,
         "kfhost: Fault A crashed in menu handler 32500 item 4 (signal 11)\n"},
        {"null dereference in Initialize",
         "Fault B:Initialize:null",
         "",
         {},
         kfhost::kExitAddOnCrashed,
         "kfhost: Fault B crashed in Initialize (signal 11)\n"},
        {"endless loop in CheckEnvironment, before the name is known",
         "Fault A:CheckEnvironment:loop",
         "",
         {"--timeout", "1"},
         kfhost::kExitAddOnHung,
         "kfhost: FaultA.bundle did not return from CheckEnvironment within 1 s\n"},
        {"abort in a module command",
         "Fault A:command:abort",
         "command \"FLT \" 1\n",
         {},
         kfhost::kExitAddOnCrashed,
         "kfhost: Fault A crashed in module command \"FLT \" version 1 (signal 6)\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        kftest::TempFolder temp;
        const HostRun run = RunKfhost(temp, c.script, c.faultAt, c.options);
        EXPECT_EQ(run.status, c.status) << run.out << run.err;
        EXPECT_TRUE(run.err.ends_with(c.err)) << run.err;
    }
}

TEST(Crashes, AnExceptionIsReportedAndTheScriptGoesOnAfterAReload)
{
    kftest::TempFolder temp;
    const HostRun run =
        RunKfhost(temp, "menu 32500 6 \"Fault B\"\nreload\nmenu 32500 8 \"Fault B\"\n", "Fault A:FreeData:int", {"-v"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("exception from \"Fault B\" in menu handler: the fault probe failed on purpose\n"
                           "menu 32500 6 answered APIERR_GENERAL (a general failure)\n> reload\n"
                           "exception from \"Fault A\" in FreeData: an exception of type int\nreloading 2 bundle(s)\n"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("reloading 2 bundle(s)\nloaded \"Fault A\" from " KF_FAULT_ADDONS "/FaultA.bundle\n"
                           "loaded \"Fault B\" from " KF_FAULT_ADDONS "/FaultB.bundle\n> menu 32500 8 \"Fault B\""),
              std::string::npos)
        << run.out;
    EXPECT_EQ(run.err.find("crashed"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("kfhost: call Fault B: menu handler 32500 item 8\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("kfhost: call FaultA.bundle: CheckEnvironment\n"), std::string::npos) << run.err;
}

} // namespace
