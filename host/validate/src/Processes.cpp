#include "Processes.hpp"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace kfhost::validate {

namespace fs = std::filesystem;

void AdoptOrphans()
{
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
}

std::vector<pid_t> ChildProcesses()
{
    std::vector<pid_t> children;
    std::error_code ec;
    for (fs::directory_iterator it("/proc/self/task", ec), end; !ec && it != end; it.increment(ec)) {
        std::ifstream in(it->path() / "children");
        for (pid_t pid = 0; in >> pid;)
            children.push_back(pid);
    }
    return children;
}

void EndProcess(pid_t pid)
{
    // What it started comes to us when it goes (AdoptOrphans): stop it first, so that it starts
    // nothing more, then end it and its own children in turn.
    ::kill(pid, SIGSTOP);
    std::vector<pid_t> below;
    {
        std::ifstream in("/proc/" + std::to_string(pid) + "/task/" + std::to_string(pid) + "/children");
        for (pid_t child = 0; in >> child;)
            below.push_back(child);
    }
    ::kill(pid, SIGKILL);
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    for (const pid_t child : below)
        EndProcess(child);
}

void EndChildProcesses(const std::set<pid_t>& keep)
{
    // Bounded: a process that forks as fast as it is ended cannot keep this going for ever.
    for (int round = 0; round < 16; ++round) {
        bool ended = false;
        for (const pid_t child : ChildProcesses())
            if (!keep.contains(child)) {
                EndProcess(child);
                ended = true;
            }
        if (!ended)
            return;
    }
}

} // namespace kfhost::validate
