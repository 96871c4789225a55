// Several processes writing one file while this one reads it.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <vector>

namespace kftest {

// Forks `writers` processes, each calling write(writer, i) for i from 0 to count - 1, and calls
// read() over and over until they have all ended. Whether every write of every process succeeded.
inline bool WhileProcessesWrite(int writers, int count, const std::function<bool(int writer, int i)>& write,
                                const std::function<void()>& read)
{
    std::vector<pid_t> pids;
    for (int w = 0; w < writers; ++w) {
        const pid_t pid = ::fork();
        if (pid == 0) {
            bool ok = true;
            for (int i = 0; i < count; ++i)
                ok = write(w, i) && ok;
            ::_exit(ok ? 0 : 1);
        }
        if (pid > 0)
            pids.push_back(pid);
    }
    bool ok = static_cast<int>(pids.size()) == writers;
    while (!pids.empty()) {
        read();
        for (auto it = pids.begin(); it != pids.end();) {
            int status = 0;
            if (::waitpid(*it, &status, WNOHANG) != *it) {
                ++it;
                continue;
            }
            ok = ok && WIFEXITED(status) && WEXITSTATUS(status) == 0;
            it = pids.erase(it);
        }
    }
    return ok;
}

} // namespace kftest
