// One check in a process of its own: a fork of the prepared validator (its libraries loaded, no
// bundle loaded yet), so that a check pays no exec and no dynamic loading, yet a crash or a hang
// ends only that process. The parent times each call the child announces.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace kfhost::validate {

struct ChildOutcome {
    bool exited = false; // ended by itself (not killed at the time-out, not by a signal)
    int exitStatus = 0;
    int signal = 0; // the signal that ended it, 0 when none
    bool timedOut = false;
    double seconds = 0;
    std::vector<std::string> reportLines; // what it wrote to its report descriptor, line by line
    std::string output;                   // its standard output and error, the end of it
};

// Report lines that start a new call (C, U, T: see Validation.hpp) give that call callSeconds of its
// own; a child still in one call after that is killed as hanging.
struct ChildLimits {
    double callSeconds = 5;
};

// A line that starts a call says when it started ("@<steady clock, ns> " before its text), so that
// the parent need not wake for each line to time the calls.
std::string CallStamp();
// Takes the stamp off the front of text, answering the time it says (nothing when it has none).
std::optional<std::chrono::steady_clock::time_point> TakeCallStamp(std::string_view& text);

// A forked child running body, in a process group of its own, with the descriptor of its report
// lines handed to body (its standard output and error are collected); body's answer is the child's
// exit status. Every process the child leaves behind is ended with it.
class Child {
public:
    Child(const std::function<int(int reportFd)>& body, ChildLimits limits);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Reads what the child wrote and times its calls; answers true once it has ended (then Outcome
    // is complete). Never blocks.
    bool Step();
    ChildOutcome& Outcome() { return outcome_; }
    // When Step has something to do at the latest, and the descriptor that wakes a waiter when the
    // child ends (-1: none, then waiters look every few milliseconds).
    std::chrono::steady_clock::time_point Due() const;
    int ExitFd() const { return exitFd_; }

private:
    void End(bool timedOut);
    void Finish();

    ChildLimits limits_;
    ChildOutcome outcome_;
    pid_t pid_ = -1;
    int reportFd_ = -1;
    int outputFd_ = -1;
    int exitFd_ = -1;
    bool reportOpen_ = true;
    bool outputOpen_ = true;
    bool ended_ = false;
    int status_ = 0;
    std::string reportText_;
    std::size_t scanned_ = 0;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point callStart_;
};

// Sleeps until one of the children may have something to do: it ended, a call ran out of time, or
// a short tick passed (to read what they wrote).
void WaitForAny(std::span<Child* const> children);

// Runs body in a child to its end.
ChildOutcome RunChild(const std::function<int(int reportFd)>& body, ChildLimits limits);

} // namespace kfhost::validate
