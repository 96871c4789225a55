// kfhost's supervising parent: what ends the process outright (an add-on's _exit, a crash after it
// reset the host's handlers, signals it blocked or ignored) is seen from outside, where the add-on
// cannot reach. The parent reads the call record the child shares with it.
#include "CallRecord.hpp"
#include "kfhost/Calls.hpp"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

namespace kfhost {
namespace {

using detail::CallRecord;
using detail::ReportLine;

constexpr int kHandled[] = {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr time_t kGraceSeconds = 3; // for the child to end on a signal passed on, before it is killed

// Dies of signal as the child did (without a core of its own), so that the caller sees the same end.
[[noreturn]] void DieOf(int signal)
{
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    ::raise(signal);
    ::_exit(128 + signal);
}

[[noreturn]] void Ended(int status, int passedOn, bool killed)
{
    const CallRecord& r = detail::Record();
    const int call = detail::InnermostAddOnFrame(r, r.depth.load(std::memory_order_acquire));
    const bool reported = r.reported.load(std::memory_order_acquire) != 0;
    ReportLine line;
    line << "kfhost: ";
    if (call >= 0)
        line << r.frames[call].who;
    if (killed) {
        line << (call >= 0 ? " did not end" : "the host did not end") << " on signal "
             << static_cast<unsigned long>(passedOn);
        if (call >= 0)
            line << " in " << r.frames[call].call;
        line << ": killed\n";
        line.WriteTo(STDERR_FILENO);
        DieOf(passedOn);
    }
    if (WIFEXITED(status)) {
        if (reported || call < 0)
            ::_exit(WEXITSTATUS(status));
        line << " ended the process in " << r.frames[call].call << " (status "
             << static_cast<unsigned long>(WEXITSTATUS(status)) << ")\n";
        line.WriteTo(STDERR_FILENO);
        ::_exit(kExitAddOnCrashed);
    }
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : SIGKILL;
    if (reported || call < 0 || signal == passedOn)
        DieOf(signal);
    line << " crashed in " << r.frames[call].call << " (signal " << static_cast<unsigned long>(signal) << ")\n";
    line.WriteTo(STDERR_FILENO);
    ::_exit(kExitAddOnCrashed);
}

[[noreturn]] void Supervise(pid_t child, const sigset_t& handled)
{
    int passedOn = 0;
    timespec killAt{};
    for (;;) {
        siginfo_t info{};
        int signal = 0;
        if (passedOn) {
            timespec now{};
            ::clock_gettime(CLOCK_MONOTONIC, &now);
            timespec left{killAt.tv_sec - now.tv_sec, killAt.tv_nsec - now.tv_nsec};
            if (left.tv_nsec < 0) {
                left.tv_nsec += 1000000000;
                --left.tv_sec;
            }
            if (left.tv_sec < 0) {
                ::kill(child, SIGKILL);
                int status = 0;
                while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
                }
                Ended(status, passedOn, true);
            }
            signal = ::sigtimedwait(&handled, &info, &left);
        } else {
            signal = ::sigwaitinfo(&handled, &info);
        }
        if (signal > 0 && signal != SIGCHLD) {
            if (!passedOn) {
                passedOn = signal;
                ::clock_gettime(CLOCK_MONOTONIC, &killAt);
                killAt.tv_sec += kGraceSeconds;
            }
            ::kill(child, signal);
            continue;
        }
        int status = 0;
        if (::waitpid(child, &status, WNOHANG) == child)
            Ended(status, passedOn, false);
    }
}

} // namespace

void SuperviseThisProcess()
{
    if (!detail::ShareRecord())
        return;
    sigset_t handled, previous;
    sigemptyset(&handled);
    for (const int signal : kHandled)
        sigaddset(&handled, signal);
    // Blocked before the fork, so that none is lost before the parent waits for it.
    ::pthread_sigmask(SIG_BLOCK, &handled, &previous);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child > 0)
        Supervise(child, handled);
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL); // a parent killed outright takes the child along
        if (::getppid() != parent)
            ::_exit(1);
    }
    ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

} // namespace kfhost
