#include "ChildProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>

extern char** environ;

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

// Appends what is readable; false at the end of the stream.
bool Drain(int fd, std::string& into)
{
    char buf[4096];
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n > 0) {
        into.append(buf, std::size_t(n));
        return true;
    }
    return n < 0 && (errno == EINTR || errno == EAGAIN);
}

} // namespace

std::string SelfPath()
{
    std::error_code ec;
    return std::filesystem::read_symlink("/proc/self/exe", ec).string();
}

ChildOutcome RunChild(const std::vector<std::string>& argv, double timeoutSeconds)
{
    ChildOutcome outcome;
    Pipe report, output;
    if (!report.Ok() || !output.Ok()) {
        outcome.output = "cannot make a pipe";
        return outcome;
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output.Write(), 1);
    ::posix_spawn_file_actions_adddup2(&actions, output.Write(), 2);
    ::posix_spawn_file_actions_adddup2(&actions, report.Write(), 3);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_t attr;
    ::posix_spawnattr_init(&attr);
    ::posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    ::posix_spawnattr_setpgroup(&attr, 0);
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    const int error = ::posix_spawn(&pid, args[0], &actions, &attr, args.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attr);
    report.CloseWrite();
    output.CloseWrite();
    if (error != 0) {
        outcome.output = "cannot start " + argv[0];
        return outcome;
    }

    std::string reportText;
    const auto deadline = start + std::chrono::duration<double>(timeoutSeconds);
    bool reportOpen = true, outputOpen = true;
    while (reportOpen || outputOpen) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            outcome.timedOut = true;
            ::kill(-pid, SIGKILL); // the group this child leads, and nothing else
            break;
        }
        pollfd fds[2] = {{reportOpen ? report.Read() : -1, POLLIN, 0}, {outputOpen ? output.Read() : -1, POLLIN, 0}};
        if (::poll(fds, 2, int(std::min<long long>(left.count(), 1000) + 1)) < 0 && errno != EINTR)
            break;
        if (fds[0].revents)
            reportOpen = Drain(report.Read(), reportText);
        if (fds[1].revents) {
            outputOpen = Drain(output.Read(), outcome.output);
            if (outcome.output.size() > 2 * kOutputKept)
                outcome.output.erase(0, outcome.output.size() - kOutputKept);
        }
    }
    // What was written before the end still counts.
    ::fcntl(report.Read(), F_SETFL, O_NONBLOCK);
    for (char buf[4096]; reportOpen;) {
        const ssize_t n = ::read(report.Read(), buf, sizeof buf);
        if (n <= 0)
            break;
        reportText.append(buf, std::size_t(n));
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
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
