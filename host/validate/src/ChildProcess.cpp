#include "ChildProcess.hpp"

#include "Processes.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>

namespace kfhost::validate {

namespace {

constexpr std::size_t kOutputKept = 4096;

class Pipe {
public:
    Pipe()
    {
        if (::pipe2(fds_.data(), O_CLOEXEC) != 0)
            fds_ = {-1, -1};
    }
    ~Pipe()
    {
        CloseRead();
        CloseWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    int Read() const { return fds_[0]; }
    int Write() const { return fds_[1]; }
    void CloseRead() { Close(fds_[0]); }
    void CloseWrite() { Close(fds_[1]); }
    bool Ok() const { return fds_[0] >= 0; }

private:
    static void Close(int& fd)
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
    std::array<int, 2> fds_{};
};

// Appends what is readable now; false at the end of the stream (or an error).
bool Drain(int fd, std::string& into)
{
    char buf[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n > 0) {
            into.append(buf, std::size_t(n));
            continue;
        }
        return n < 0 && (errno == EINTR || errno == EAGAIN);
    }
}

// The child's side: its own process group, the pipes in place of its output, the signals as a
// fresh process has them (the validator's own handlers and ignored signals are not the add-on's).
[[noreturn]] void BecomeChild(const std::function<int(int)>& body, int reportFd, int outputFd)
{
    ::setpgid(0, 0);
    ::dup2(outputFd, STDOUT_FILENO);
    ::dup2(outputFd, STDERR_FILENO);
    if (const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC); null >= 0)
        ::dup2(null, STDIN_FILENO);
    for (int signal = 1; signal < NSIG; ++signal)
        if (signal != SIGKILL && signal != SIGSTOP)
            ::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    const int reportCopy = ::fcntl(reportFd, F_DUPFD_CLOEXEC, 3);
    int status = 70;
    try {
        status = body(reportCopy);
    } catch (...) {
    }
    std::fflush(nullptr);
    // No static destruction and no leak report at exit: what the add-on left is the checks' finding.
    ::_exit(status);
}

bool StartsCall(const std::string& line)
{
    return !line.empty() && (line[0] == 'C' || line[0] == 'U' || line[0] == 'T');
}

} // namespace

ChildOutcome RunChild(const std::function<int(int reportFd)>& body, ChildLimits limits)
{
    using Clock = std::chrono::steady_clock;
    ChildOutcome outcome;
    Pipe report, output;
    if (!report.Ok() || !output.Ok()) {
        outcome.output = "cannot make a pipe";
        return outcome;
    }
    // Whatever the parent has buffered would be written twice.
    std::fflush(nullptr);
    AdoptOrphans();
    const auto start = Clock::now();
    const pid_t pid = ::fork();
    if (pid < 0) {
        outcome.output = "cannot start a process";
        return outcome;
    }
    if (pid == 0)
        BecomeChild(body, report.Write(), output.Write());
    ::setpgid(pid, pid); // either side may be first
    report.CloseWrite();
    output.CloseWrite();
    ::fcntl(report.Read(), F_SETFL, O_NONBLOCK);
    ::fcntl(output.Read(), F_SETFL, O_NONBLOCK);

    // Readable when the child ends; without it (an old kernel) the loop looks every few milliseconds.
    const int exitFd = int(::syscall(SYS_pidfd_open, pid, 0));
    std::string reportText;
    std::size_t scanned = 0; // of reportText, up to the last whole line seen
    auto callStart = start;
    const auto callLimit =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits.callSeconds));
    bool reportOpen = true, outputOpen = true;
    int status = 0;
    for (;;) {
        // The end of the child, not of its pipes: a process it left may hold them open.
        const pid_t ended = ::waitpid(pid, &status, WNOHANG);
        if (ended == pid)
            break;
        const auto now = Clock::now();
        if (now - callStart >= callLimit) {
            outcome.timedOut = true;
            ::kill(-pid, SIGKILL);
            ::kill(pid, SIGKILL);
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            break;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(callStart + callLimit - now).count();
        pollfd fds[3] = {{reportOpen ? report.Read() : -1, POLLIN, 0},
                         {outputOpen ? output.Read() : -1, POLLIN, 0},
                         {exitFd, POLLIN, 0}};
        if (::poll(fds, 3, int(exitFd >= 0 ? left + 1 : std::min<long long>(left + 1, 5))) < 0 && errno != EINTR) {
            ::kill(-pid, SIGKILL);
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            break;
        }
        if (reportOpen && fds[0].revents)
            reportOpen = Drain(report.Read(), reportText);
        if (outputOpen && fds[1].revents) {
            outputOpen = Drain(output.Read(), outcome.output);
            if (outcome.output.size() > 2 * kOutputKept)
                outcome.output.erase(0, outcome.output.size() - kOutputKept);
        }
        // Each call the child starts has its own time.
        for (std::size_t end; (end = reportText.find('\n', scanned)) != std::string::npos; scanned = end + 1)
            if (StartsCall(reportText.substr(scanned, 1)))
                callStart = Clock::now();
    }
    // What was written before the end still counts.
    if (reportOpen)
        Drain(report.Read(), reportText);
    if (outputOpen)
        Drain(output.Read(), outcome.output);
    if (exitFd >= 0)
        ::close(exitFd);
    // The group, and whatever left it and came to us as an orphan.
    ::kill(-pid, SIGKILL);
    EndChildProcesses();
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (WIFEXITED(status) && !outcome.timedOut) {
        outcome.exited = true;
        outcome.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status) && !outcome.timedOut) {
        outcome.signal = WTERMSIG(status);
    }
    if (outcome.output.size() > kOutputKept)
        outcome.output.erase(0, outcome.output.size() - kOutputKept);
    for (std::size_t begin = 0; begin < reportText.size();) {
        const std::size_t end = reportText.find('\n', begin);
        if (end == std::string::npos)
            break;
        outcome.reportLines.push_back(reportText.substr(begin, end - begin));
        begin = end + 1;
    }
    return outcome;
}

} // namespace kfhost::validate
