// One check in a process of its own: a fork of the prepared validator (its libraries loaded, no
// bundle loaded yet), so that a check pays no exec and no dynamic loading, yet a crash or a hang
// ends only that process. The parent watches each call the child announces against a time limit.
#pragma once

#include <functional>
#include <string>
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

// Runs body in a forked child, in a process group of its own, with reportFd handed to body as the
// descriptor of its report lines and its standard output and error collected; body's answer is the
// child's exit status. Every process the child leaves behind is ended before this returns.
ChildOutcome RunChild(const std::function<int(int reportFd)>& body, ChildLimits limits);

} // namespace kfhost::validate
