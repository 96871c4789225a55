// A check's process, as the validator runs it: what it reported and how it ended become the
// check's result, whatever the process did; each call it announces has a time of its own; nothing
// it leaves running outlives it.
#include "ChildProcess.hpp"
#include "Processes.hpp"
#include "Report.hpp"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

using namespace kfhost::validate;

namespace {

void Say(int fd, const char* line)
{
    [[maybe_unused]] const auto n = ::write(fd, line, std::strlen(line));
}

void Sleep(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

[[noreturn]] void WaitForEver()
{
    for (;;)
        ::pause();
}

struct Case {
    const char* name;
    int (*body)(int fd);
    double callSeconds;
    const char* abnormal; // "" when it ended well
    char callKind;        // of the last call announced
};

const Case kCases[] = {
    {"done", [](int fd) { return Say(fd, "A Probe\nN 3 ms\nD\n"), 0; }, 10, "", 0},
    // A crash with the add-on's name: validate.probe.crash.
    {"abort in a step", [](int fd) { return Say(fd, "C load\n"), std::abort(), 0; }, 10,
     "crashed with SIGABRT during load", 'C'},
    // Each call has the whole time: four calls of 0.3 s pass a limit of 1 s that all together exceed.
    {"slow calls, each in time",
     [](int fd) {
         for (const char* call : {"U a\n", "T a\n", "U b\n", "T b\n"}) {
             Say(fd, call);
             Sleep(0.3);
         }
         return Say(fd, "D\n"), 0;
     },
     1.0, "", 'T'},
    {"hang in timers",
     [](int fd) -> int {
         Say(fd, "A Probe\nU menu 1\nT menu 1\n");
         WaitForEver();
     },
     0.3, "did not finish within 0.3 s: it hangs in \"Probe\" during the timers and downloads of menu 1", 'T'},
    // Standard error is kept (and standard output: validate.reports_parse finds it in the report).
    {"caught by a sanitizer",
     [](int fd) {
         Say(fd, "C menu 2\n");
         std::fputs("==1==ERROR: AddressSanitizer: SEGV on unknown address\n", stderr);
         return 1;
     },
     10, "crashed with SIGSEGV during menu 2", 'C'},
    {"early end", [](int fd) { return Say(fd, "U unload\n"), std::exit(3), 0; }, 10,
     "ended with exit status 3 before the check was done during unload", 'U'},
    {"no end line", [](int) { return 0; }, 10, "ended with exit status 0 before the check was done", 0},
};

TEST(ChildProcess, EndsBecomeFindings)
{
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        const ChildOutcome outcome = RunChild(c.body, {c.callSeconds});
        const Attempt attempt = ParseAttempt(outcome, c.callSeconds);
        EXPECT_EQ(attempt.abnormal, c.abnormal);
        EXPECT_EQ(attempt.callKind, c.callKind);
    }
}

TEST(ChildProcess, FailuresKeepTheirKeys)
{
    const ChildOutcome outcome = RunChild(
        [](int fd) { return Say(fd, "F it leaks\nF left a process\x1fleft process 7 running\nW careful\nD\n"), 0; },
        {10});
    const Attempt attempt = ParseAttempt(outcome, 10);
    ASSERT_EQ(attempt.failures.size(), 2u);
    EXPECT_EQ(attempt.failures[0].key, "it leaks");
    EXPECT_EQ(attempt.failures[1].key, "left a process");
    EXPECT_EQ(attempt.failures[1].text, "left process 7 running");
    EXPECT_EQ(attempt.warnings, std::vector<std::string>{"careful"});
}

// A process the child leaves running (even one that holds its pipes) neither keeps the parent
// waiting nor survives it.
TEST(ChildProcess, WhatTheChildLeavesRunningEndsWithIt)
{
    const ChildOutcome outcome = RunChild(
        [](int fd) {
            const pid_t left = ::fork();
            if (left == 0)
                WaitForEver();
            Say(fd, ("N " + std::to_string(left) + "\nD\n").c_str());
            return 0;
        },
        {10});
    EXPECT_TRUE(outcome.exited); // and did not wait for the left process, which holds its pipes for ever
    ASSERT_EQ(outcome.reportLines.size(), 2u);
    const pid_t left = std::stoi(outcome.reportLines[0].substr(2));
    EXPECT_NE(::kill(left, 0), 0) << "process " << left << " still runs";
    EXPECT_TRUE(ChildProcesses().empty());
}

// Checks run side by side: the end of one ends nothing of another.
TEST(ChildProcess, ChildrenSideBySide)
{
    Child slow([](int fd) { return Sleep(0.3), Say(fd, "D\n"), 0; }, {10});
    Child quick([](int fd) { return Say(fd, "D\n"), 0; }, {10});
    Child* const both[] = {&slow, &quick};
    while (!quick.Step())
        WaitForAny(both);
    while (!slow.Step())
        WaitForAny(both);
    for (Child* child : both) {
        EXPECT_TRUE(child->Outcome().exited);
        EXPECT_EQ(child->Outcome().reportLines, std::vector<std::string>{"D"});
    }
}

TEST(Processes, ALeftProcessIsFoundAndEnded)
{
    AdoptOrphans();
    const pid_t pid = ::fork();
    if (pid == 0) {
        // A grandchild that outlives its parent comes to us as an orphan.
        if (::fork() == 0)
            WaitForEver();
        ::_exit(0);
    }
    ::waitpid(pid, nullptr, 0);
    std::vector<pid_t> children;
    for (int i = 0; i < 200 && children.empty(); ++i) {
        children = ChildProcesses();
        Sleep(0.01);
    }
    ASSERT_EQ(children.size(), 1u);
    EndProcess(children.front());
    EXPECT_TRUE(ChildProcesses().empty());
}

} // namespace
