// A check's process, as the validator runs it: what it reported and how it ended become the
// check's result, whatever the process did.
#include "ChildProcess.hpp"
#include "Report.hpp"

#include <gtest/gtest.h>

using namespace kfhost::validate;

namespace {

struct Case {
    const char* name;
    const char* script; // run by /bin/sh; descriptor 3 is the report pipe
    double timeout;
    CheckResult::Status status;
    const char* failure; // the first failure, "" when none
};

const Case kCases[] = {
    {"done", "echo 'A Probe' >&3; echo 'N 3 ms' >&3; echo D >&3", 10, CheckResult::Status::Pass, ""},
    {"reported", "echo 'F it leaks' >&3; echo D >&3", 10, CheckResult::Status::Fail, "it leaks"},
    {"skipped", "echo 'S nothing to do' >&3; echo D >&3", 10, CheckResult::Status::Skip, ""},
    {"crash", "echo 'A Probe' >&3; echo 'C menu 32500 item 1' >&3; echo lost; kill -SEGV $$", 10,
     CheckResult::Status::Fail, "crashed with SIGSEGV in \"Probe\" during menu 32500 item 1"},
    {"abort", "echo 'C load' >&3; kill -ABRT $$", 10, CheckResult::Status::Fail, "crashed with SIGABRT during load"},
    // The sleep is a process of the group too: it must go as well, or its pipe would stay open.
    {"hang", "echo 'C menu 1' >&3; sleep 30; echo D >&3", 0.3, CheckResult::Status::Fail,
     "did not finish within 0.3 s: it hangs during menu 1"},
    {"caught by a sanitizer",
     "echo 'C menu 2' >&3; echo '==1==ERROR: AddressSanitizer: SEGV on unknown address' >&2; exit 1", 10,
     CheckResult::Status::Fail, "crashed with SIGSEGV during menu 2"},
    {"a sanitizer's other finding", "echo '==1==ERROR: AddressSanitizer: heap-use-after-free on address' >&2; exit 1",
     10, CheckResult::Status::Fail, "crashed with AddressSanitizer: heap-use-after-free"},
    {"early end", "echo 'C unload' >&3; exit 3", 10, CheckResult::Status::Fail,
     "ended with exit status 3 before the check was done during unload"},
    {"no end line", "true", 10, CheckResult::Status::Fail, "ended with exit status 0 before the check was done"},
};

TEST(ChildProcess, EndsBecomeResults)
{
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        const ChildOutcome outcome = RunChild({"/bin/sh", "-c", c.script}, c.timeout);
        // Ended by its own end or its timeout, never by waiting out the sleep of 30 s (a bound far
        // from both, so that a slow machine cannot reach it).
        EXPECT_LT(outcome.seconds, 25);
        const CheckResult result = ResultOf("A.bundle", "menus", outcome, c.timeout);
        EXPECT_EQ(result.status, c.status);
        if (*c.failure) {
            ASSERT_FALSE(result.failures.empty());
            EXPECT_EQ(result.failures.back(), c.failure);
        } else {
            EXPECT_TRUE(result.failures.empty()) << result.failures.front();
        }
    }
}

TEST(ChildProcess, KeepsWhatTheProcessPrintedWhenItFailed)
{
    const ChildOutcome outcome = RunChild({"/bin/sh", "-c", "echo to-stdout; echo to-stderr >&2; exit 1"}, 10);
    const CheckResult result = ResultOf("A.bundle", "load", outcome, 10);
    EXPECT_NE(result.output.find("to-stdout"), std::string::npos);
    EXPECT_NE(result.output.find("to-stderr"), std::string::npos);
}

} // namespace
