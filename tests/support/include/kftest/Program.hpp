// A program run as its users run it: a pipe to its standard input, one from its standard output
// and error together, and its exit status.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

extern char** environ;

namespace kftest {

class Program {
public:
    // argv[0] is the program's path; env adds to (and goes before) this process's environment.
    explicit Program(std::vector<std::string> argv, const std::vector<std::string>& env = {})
    {
        int in[2], out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe");
        std::vector<std::string> environment(env);
        for (char** e = environ; *e; ++e)
            environment.emplace_back(*e);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, out[1], 2);
        const int spawned =
            posix_spawn(&pid_, argv[0].c_str(), &actions, nullptr, Pointers(argv).data(), Pointers(environment).data());
        posix_spawn_file_actions_destroy(&actions);
        ::close(in[0]);
        ::close(out[1]);
        input_ = in[1];
        output_ = out[0];
        if (spawned != 0) {
            pid_ = 0;
            throw std::runtime_error("cannot start " + argv[0]);
        }
    }
    ~Program()
    {
        if (pid_ > 0)
            Wait();
        CloseInput();
        ::close(output_);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void Write(std::string_view text)
    {
        while (!text.empty()) {
            const ssize_t n = ::write(input_, text.data(), text.size());
            if (n <= 0)
                return;
            text.remove_prefix(std::size_t(n));
        }
    }
    void CloseInput()
    {
        if (input_ >= 0)
            ::close(input_);
        input_ = -1;
    }
    // Reads what the program prints until `text` has appeared `times` times; false when its output
    // ends first.
    bool WaitFor(const std::string& text, int times = 1)
    {
        for (;;) {
            int seen = 0;
            for (std::size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + 1))
                ++seen;
            if (seen >= times)
                return true;
            if (!ReadSome())
                return false;
        }
    }
    // Closes the input, reads the rest and answers the exit status (128 + the signal that ended it).
    int Wait()
    {
        CloseInput();
        while (ReadSome()) {
        }
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    std::string output;

private:
    static std::vector<char*> Pointers(std::vector<std::string>& strings)
    {
        std::vector<char*> pointers;
        for (auto& s : strings)
            pointers.push_back(s.data());
        pointers.push_back(nullptr);
        return pointers;
    }
    bool ReadSome()
    {
        char chunk[4096];
        const ssize_t n = ::read(output_, chunk, sizeof chunk);
        if (n <= 0)
            return false;
        output.append(chunk, std::size_t(n));
        return true;
    }

    pid_t pid_ = 0;
    int input_ = -1;
    int output_ = -1;
};

struct Finished {
    int status; // 128 + the signal when one ended it
    std::string output;
};

// Runs the program to its end with nothing on its standard input.
inline Finished RunProgram(std::vector<std::string> argv, const std::vector<std::string>& env = {})
{
    Program program(std::move(argv), env);
    const int status = program.Wait();
    return {status, program.output};
}

} // namespace kftest
