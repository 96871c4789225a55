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
#include <set>

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
    // Descriptor 3 reports; nothing else of the parent's (other checks' pipes) stays open.
    if (reportFd != 3) {
        ::dup2(reportFd, 3);
        reportFd = 3;
    }
    ::close_range(4, ~0U, 0);
    int status = 70;
    try {
        status = body(reportFd);
    } catch (...) {
    }
    std::fflush(nullptr);
    // No static destruction and no leak report at exit: what the add-on left is the checks' finding.
    ::_exit(status);
}

bool StartsCall(std::string_view line)
{
    return line.size() >= 2 && (line[0] == 'C' || line[0] == 'U' || line[0] == 'T');
}

// The checks' processes this process has running: what else is its child came as an orphan.
std::set<pid_t>& Running()
{
    static std::set<pid_t> running;
    return running;
}

// Room for what a check reports between two looks of the parent.
void Widen(int fd)
{
    ::fcntl(fd, F_SETPIPE_SZ, 1 << 20);
}

} // namespace

std::string CallStamp()
{
    std::string stamp(1, '@');
    stamp += std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    stamp += ' ';
    return stamp;
}

std::optional<std::chrono::steady_clock::time_point> TakeCallStamp(std::string_view& text)
{
    if (text.empty() || text[0] != '@')
        return std::nullopt;
    const std::size_t space = text.find(' ');
    if (space == std::string_view::npos)
        return std::nullopt;
    long long ns = 0;
    for (const char c : text.substr(1, space - 1)) {
        if (c < '0' || c > '9')
            return std::nullopt;
        ns = ns * 10 + (c - '0');
    }
    text.remove_prefix(space + 1);
    return std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(ns));
}

Child::Child(const std::function<int(int reportFd)>& body, ChildLimits limits) : limits_(limits)
{
    Pipe report, output;
    if (!report.Ok() || !output.Ok()) {
        outcome_.output = "cannot make a pipe";
        ended_ = true;
        return;
    }
    // Whatever the parent has buffered would be written twice.
    std::fflush(nullptr);
    AdoptOrphans();
    start_ = callStart_ = std::chrono::steady_clock::now();
    pid_ = ::fork();
    if (pid_ < 0) {
        outcome_.output = "cannot start a process";
        ended_ = true;
        return;
    }
    if (pid_ == 0)
        BecomeChild(body, report.Write(), output.Write());
    ::setpgid(pid_, pid_); // either side may be first
    Running().insert(pid_);
    reportFd_ = ::fcntl(report.Read(), F_DUPFD_CLOEXEC, 0);
    outputFd_ = ::fcntl(output.Read(), F_DUPFD_CLOEXEC, 0);
    for (const int fd : {reportFd_, outputFd_}) {
        ::fcntl(fd, F_SETFL, O_NONBLOCK);
        Widen(fd);
    }
    exitFd_ = int(::syscall(SYS_pidfd_open, pid_, 0));
}

Child::~Child()
{
    if (!ended_ && pid_ > 0)
        End(false);
    for (const int fd : {reportFd_, outputFd_, exitFd_})
        if (fd >= 0)
            ::close(fd);
}

void Child::End(bool timedOut)
{
    outcome_.timedOut = timedOut;
    ::kill(-pid_, SIGKILL);
    ::kill(pid_, SIGKILL);
    while (::waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
    }
    Finish();
}

std::chrono::steady_clock::time_point Child::Due() const
{
    return callStart_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                            std::chrono::duration<double>(limits_.callSeconds));
}

bool Child::Step()
{
    if (ended_)
        return true;
    if (reportOpen_)
        reportOpen_ = Drain(reportFd_, reportText_);
    if (outputOpen_) {
        outputOpen_ = Drain(outputFd_, outcome_.output);
        if (outcome_.output.size() > 2 * kOutputKept)
            outcome_.output.erase(0, outcome_.output.size() - kOutputKept);
    }
    // Each call the child starts has its own time.
    for (std::size_t end; (end = reportText_.find('\n', scanned_)) != std::string::npos; scanned_ = end + 1) {
        std::string_view line(reportText_.data() + scanned_, end - scanned_);
        if (!StartsCall(line))
            continue;
        line.remove_prefix(2);
        callStart_ = TakeCallStamp(line).value_or(std::chrono::steady_clock::now());
    }
    // The end of the child, not of its pipes: a process it left may hold them open.
    if (::waitpid(pid_, &status_, WNOHANG) == pid_)
        Finish();
    else if (std::chrono::steady_clock::now() >= Due())
        End(true);
    return ended_;
}

void Child::Finish()
{
    ended_ = true;
    Running().erase(pid_);
    // What was written before the end still counts.
    if (reportOpen_)
        Drain(reportFd_, reportText_);
    if (outputOpen_)
        Drain(outputFd_, outcome_.output);
    // The group, and whatever left it and came to us as an orphan.
    ::kill(-pid_, SIGKILL);
    EndChildProcesses(Running());
    outcome_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    if (WIFEXITED(status_) && !outcome_.timedOut) {
        outcome_.exited = true;
        outcome_.exitStatus = WEXITSTATUS(status_);
    } else if (WIFSIGNALED(status_) && !outcome_.timedOut) {
        outcome_.signal = WTERMSIG(status_);
    }
    if (outcome_.output.size() > kOutputKept)
        outcome_.output.erase(0, outcome_.output.size() - kOutputKept);
    for (std::size_t begin = 0; begin < reportText_.size();) {
        const std::size_t end = reportText_.find('\n', begin);
        if (end == std::string::npos)
            break;
        outcome_.reportLines.push_back(reportText_.substr(begin, end - begin));
        begin = end + 1;
    }
}

void WaitForAny(std::span<Child* const> children)
{
    constexpr auto kTick = std::chrono::milliseconds(100);
    auto due = std::chrono::steady_clock::now() + kTick;
    std::vector<pollfd> fds;
    bool blind = false; // a child without an exit descriptor: look often
    for (const Child* child : children) {
        due = std::min(due, child->Due());
        if (child->ExitFd() >= 0)
            fds.push_back({child->ExitFd(), POLLIN, 0});
        else
            blind = true;
    }
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(due - std::chrono::steady_clock::now()).count() + 1;
    if (blind)
        ms = std::min<long long>(ms, 2);
    ::poll(fds.data(), nfds_t(fds.size()), int(std::max<long long>(ms, 0)));
}

ChildOutcome RunChild(const std::function<int(int reportFd)>& body, ChildLimits limits)
{
    Child child(body, limits);
    Child* const children[] = {&child};
    while (!child.Step())
        WaitForAny(children);
    return std::move(child.Outcome());
}

} // namespace kfhost::validate
