// A hostile add-on cannot take the host down unnamed: kfhost runs two fault probes, one of them
// crashes, hangs, ends the process or plays with signals, threads and the working folder, and
// kfhost says which add-on and which call before it ends with its documented exit code, or goes
// on where the fault need not end anything.
#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <fstream>
#include <thread>

extern char** environ;

namespace {

namespace fs = std::filesystem;

struct HostRun {
    int status = -1;
    std::string out, err;
};

struct RunOptions {
    std::string faultAt;              // KF_FAULT_AT
    std::vector<std::string> options; // after the script
    std::vector<std::string> wrapper; // a program that runs kfhost (timeout 1)
    std::string frameworkFolder;      // as given on the command line; empty: <temp>/fw
    std::vector<std::string> env;     // NAME=VALUE set for the run
};

// kfhost with both fault probes loaded, on script, started in temp.
HostRun RunKfhost(const kftest::TempFolder& temp, const std::string& script, const RunOptions& run = {})
{
    const fs::path scriptFile = temp.Path() / "script.kfs";
    std::ofstream(scriptFile) << script;
    std::vector<std::string> args = run.wrapper;
    args.insert(args.end(), {KFHOST, "--addon", KF_FAULT_ADDONS "/FaultA.bundle", "--addon",
                             KF_FAULT_ADDONS "/FaultB.bundle", "--framework-folder",
                             run.frameworkFolder.empty() ? (temp.Path() / "fw").string() : run.frameworkFolder,
                             "--script", scriptFile.string()});
    args.insert(args.end(), run.options.begin(), run.options.end());
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    // Ours first: a name's first entry is the one a program reads.
    std::vector<std::string> env = run.env;
    env.push_back("KF_FAULT_AT=" + run.faultAt);
    std::vector<char*> envp;
    for (auto& e : env)
        envp.push_back(e.data());
    for (char** e = environ; *e; ++e)
        envp.push_back(*e);
    envp.push_back(nullptr);

    const fs::path out = temp.Path() / "out.txt", err = temp.Path() / "err.txt";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, temp.Path().c_str());
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return {};
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), kftest::ReadFile(out),
            kftest::ReadFile(err)};
}

// The processes whose command line names folder (ours ran in it), ended when found.
std::vector<pid_t> EndLeftovers(const fs::path& folder)
{
    std::vector<pid_t> found;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator("/proc", ec)) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        if (kftest::ReadFile(entry.path() / "cmdline").find(folder.string()) == std::string::npos)
            continue;
        found.push_back(pid_t(std::stoi(name)));
        ::kill(found.back(), SIGKILL);
    }
    return found;
}

struct Case {
    const char* what;
    std::string script;
    int status;
    std::string err; // standard error ends with it (after "kfhost: "); empty: no report
    std::string out; // the transcript has it, when given
    std::string faultAt = {};
    RunOptions run = {};
};

void Check(const Case& c)
{
    SCOPED_TRACE(c.what);
    kftest::TempFolder temp;
    RunOptions options = c.run;
    options.faultAt = c.faultAt;
    const HostRun run = RunKfhost(temp, c.script, options);
    EXPECT_EQ(run.status, c.status) << run.out << run.err;
    if (c.err.empty())
        EXPECT_EQ(run.err.find("kfhost: Fault"), std::string::npos) << run.err;
    else
        EXPECT_TRUE(run.err.ends_with("kfhost: " + c.err + "\n")) << run.err;
    EXPECT_NE(run.out.find(c.out), std::string::npos) << run.out;
}

constexpr int kCrashed = kfhost::kExitAddOnCrashed;
constexpr int kHung = kfhost::kExitAddOnHung;
const RunOptions kOneSecond{{}, {"--timeout", "1"}};
const RunOptions kStrict{{}, {"--strict"}};
// What a longjmp skips is never freed: the add-on's doing, not a leak of the host's.
const RunOptions kJumped{{}, {}, {}, {}, {"ASAN_OPTIONS=detect_leaks=0"}};

TEST(Crashes, AreNamedWithTheAddOnAndTheCall)
{
    const Case cases[] = {
        {"null dereference in a menu handler", "menu 32500 1 \"Fault B\"\n", kCrashed,
         "Fault B crashed in menu handler 32500 item 1 (signal 11)"},
        {"abort in a menu handler", "menu 32500 2 \"Fault A\"\n", kCrashed,
         "Fault A crashed in menu handler 32500 item 2 (signal 6)"},
        {"deep recursion", "menu 32500 4 \"Fault A\"\n", kCrashed,
         "Fault A crashed in menu handler 32500 item 4 (signal 11)"},
        {"null dereference in Initialize", "", kCrashed, "Fault B crashed in Initialize (signal 11)", "",
         "Fault B:Initialize:null"},
        {"abort in a module command", "command \"FLT \" 1\n", kCrashed,
         "Fault A crashed in module command \"FLT \" version 1 (signal 6)", "", "Fault A:command:abort"},
        {"a bad pointer handed to a host entry", "menu 32500 24 \"Fault B\"\n", kCrashed,
         "Fault B crashed in host entry GetReleaseNumber, called in menu handler 32500 item 24 (signal 11)"},
        // Only the host's own handler, put back after the first call, tells a host entry from the
        // add-on's code.
        {"handlers reset in one call, a crash in the next", "menu 32500 17 \"Fault B\"\nmenu 32500 24 \"Fault A\"\n",
         kCrashed, "Fault A crashed in host entry GetReleaseNumber, called in menu handler 32500 item 24 (signal 11)"},
        {"handlers reset and a crash in the same call", "menu 32500 18 \"Fault B\"\n", kCrashed,
         "Fault B crashed in menu handler 32500 item 18 (signal 11)"},
        {"a thread of the add-on crashes after its call returned", "menu 32500 16 \"Fault B\"\nwait 5\n", kCrashed,
         "Fault B crashed after it returned from menu handler 32500 item 16 (signal 11)"},
        {"raise(SIGALRM) is the add-on's own death, not a hang", "menu 32500 12 \"Fault B\"\n", kCrashed,
         "Fault B crashed in menu handler 32500 item 12 (signal 14)"},
    };
    for (const Case& c : cases)
        Check(c);
}

TEST(Crashes, AnAddOnThatEndsTheProcessIsNamed)
{
    Check({"exit(0)", "menu 32500 19 \"Fault B\"\n", kCrashed,
           "Fault B ended the process in menu handler 32500 item 19 (status 0)", "", "", kStrict});
    Check({"_exit(7)", "menu 32500 20 \"Fault A\"\n", kCrashed,
           "Fault A ended the process in menu handler 32500 item 20 (status 7)", "", "", kStrict});
}

// The clock measures the whole call, host entries included, and nothing the add-on does to its
// signals stops it.
TEST(Crashes, HangsAreNamedWhateverTheAddOnDoesToItsSignals)
{
    const std::string within = " within 1 s";
    const std::string jumped = "warning: Fault B left dialog handler 32600 by jumping past the host (longjmp)";
    const Case cases[] = {
        {"endless loop", "menu 32500 3 \"Fault B\"\n", kHung,
         "Fault B did not return from menu handler 32500 item 3" + within, "", "", kOneSecond},
        {"endless loop in CheckEnvironment, before the name is known", "", kHung,
         "FaultA.bundle did not return from CheckEnvironment" + within, "", "Fault A:CheckEnvironment:loop",
         kOneSecond},
        {"every signal blocked", "menu 32500 10 \"Fault B\"\n", kHung,
         "Fault B did not return from menu handler 32500 item 10" + within, "", "", kOneSecond},
        {"alarm(0)", "menu 32500 11 \"Fault A\"\n", kHung,
         "Fault A did not return from menu handler 32500 item 11" + within, "", "", kOneSecond},
        {"the host waits in its modal dialog, inside the add-on's call", "menu 32500 25 \"Fault B\"\nwait 3\nclick 1\n",
         kHung,
         "Fault B did not return from menu handler 32500 item 25" + within + " (it is in host entry ModalDialog)", "",
         "", kOneSecond},
        {"a longjmp out of a dialog callback leaves nothing of that call behind",
         "menu 32500 13 \"Fault B\"\nmenu 32500 8 \"Fault A\"\n", 0, "", jumped, "", kJumped},
        {"a longjmp out of a dialog callback leaves the watchdog working",
         "menu 32500 13 \"Fault B\"\nmenu 32500 3 \"Fault A\"\n", kHung,
         "Fault A did not return from menu handler 32500 item 3" + within, jumped, "", kOneSecond},
    };
    for (const Case& c : cases)
        Check(c);

    // An endless loop through host entries: the report may catch it inside one.
    kftest::TempFolder temp;
    const HostRun run = RunKfhost(temp, "menu 32500 9 \"Fault B\"\n", kOneSecond);
    EXPECT_EQ(run.status, kHung) << run.err;
    EXPECT_NE(run.err.find("kfhost: Fault B did not return from menu handler 32500 item 9 within 1 s"),
              std::string::npos)
        << run.err;
}

// What need not end the host does not: a broken pipe, calls from other threads (refused, and
// named), a working folder and umask changed under the host.
TEST(Crashes, WhatNeedNotEndTheHostDoesNot)
{
    const std::string refused = "warning: Fault B called host entry ";
    const std::string wrongThread = std::to_string(KF_APIERR_WRONGTHREAD);
    const Case cases[] = {
        {"raise(SIGPIPE) and a write into a broken pipe", "menu 32500 14 \"Fault B\"\n", 0, "",
         "\"Fault B\": the write into the broken pipe failed with EPIPE\n"},
        {"a call from another thread", "menu 32500 21 \"Fault B\"\n", 0, "",
         refused +
             "RegisterMenu from another thread; refused (every call is made on the host's main thread)\n"
             "\"Fault B\": a call from another thread answered " +
             wrongThread + "\n"},
        {"a thread that calls after its call returned",
         "menu 32500 15 \"Fault B\"\nwait 0.5\nmenu 32500 8 \"Fault B\"\n", 0, "",
         refused + "GetOwnResModule from another thread; refused"},
        {"a thread's calls fail a strict run", "menu 32500 21 \"Fault B\"\n", 1, "",
         "FAILED end of script: host warning: Fault B called host entry RegisterMenu from another thread", "", kStrict},
    };
    for (const Case& c : cases)
        Check(c);
}

TEST(Crashes, AChangedWorkingFolderAndUmaskDecideNothingOfTheHosts)
{
    kftest::TempFolder temp;
    const mode_t umask = ::umask(022);
    ::umask(umask);
    const HostRun run = RunKfhost(temp, "menu 32500 22 \"Fault B\"\nmenu 32500 23 \"Fault B\"\n", {{}, {}, {}, "fw"});
    EXPECT_EQ(run.status, 0) << run.err;
    const fs::path folder = temp.Path() / "fw" / "Written";
    EXPECT_NE(run.out.find("\"Fault B\": wrote " + (folder / "file.txt").string() + ": 0\n"), std::string::npos)
        << run.out;
    struct stat st {};
    ASSERT_EQ(::stat((folder / "file.txt").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644 & ~umask);
    ASSERT_EQ(::stat(folder.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0777 & ~umask);
}

// Started under timeout(1) with every signal blocked by the add-on and kfhost's own timeout off,
// the run still ends, and nothing of it stays behind.
TEST(Crashes, ARunUnderTimeoutEndsWhateverTheAddOnBlocks)
{
    kftest::TempFolder temp;
    const HostRun run = RunKfhost(temp, "menu 32500 10 \"Fault B\"\n", {{}, {"--timeout", "0"}, {"timeout", "1"}, {}});
    EXPECT_EQ(run.status, 124) << run.err; // timeout's own status: it had to signal
    EXPECT_NE(run.err.find("kfhost: Fault B did not end on signal 15 in menu handler 32500 item 10: killed"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(EndLeftovers(temp.Path()), std::vector<pid_t>{}) << "a kfhost process outlived its run";
}

TEST(Crashes, AnExceptionIsReportedAndTheScriptGoesOnAfterAReload)
{
    kftest::TempFolder temp;
    const HostRun run = RunKfhost(temp, "menu 32500 6 \"Fault B\"\nreload\nmenu 32500 8 \"Fault B\"\n",
                                  {"Fault A:FreeData:int", {"-v"}});
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

    // ... and fails a strict run.
    const HostRun strict = RunKfhost(temp, "menu 32500 6 \"Fault B\"\n", {{}, {"--strict"}});
    EXPECT_EQ(strict.status, 1) << strict.err;
    EXPECT_NE(strict.err.find("host warning: exception from \"Fault B\" in menu handler"), std::string::npos)
        << strict.err;
}

// In process, without kfhost's parent: the exit hook names an add-on's exit(), and the time the host
// waits for a person is neither measured nor left on the add-on's clock.
TEST(CallsInProcess, AnExitInsideACallIsNamed)
{
    EXPECT_EXIT(
        {
            kfhost::InstallCallReports();
            kfhost::AddOn addOn;
            addOn.name = "Probe";
            const kfhost::AddOnCall call(addOn, "menu handler 1 item 1");
            std::exit(0);
        },
        ::testing::ExitedWithCode(kCrashed), "kfhost: Probe ended the process in menu handler 1 item 1 \\(status 0\\)");
}

TEST(CallsInProcess, TheTimeAPersonTakesIsNotTheAddOns)
{
    EXPECT_EXIT(
        {
            kfhost::InstallCallReports();
            kfhost::SetCallWatch({2, false});
            kfhost::AddOn addOn;
            addOn.name = "Probe";
            {
                const kfhost::AddOnCall call(addOn, "menu handler 1 item 1");
                {
                    const kfhost::UserWait waiting;
                    std::this_thread::sleep_for(std::chrono::milliseconds(3000));
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(500));
            }
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
