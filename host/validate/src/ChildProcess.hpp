// One check in a process of its own: started from this very program, watched for a crash and a
// time-out, its report lines collected.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kfhost::validate {

struct ChildOutcome {
    bool exited = false; // ended by itself (not killed at the time-out, not by a signal)
    int exitStatus = 0;
    int signal = 0; // the signal that ended it, 0 when none
    bool timedOut = false;
    double seconds = 0;
    std::vector<std::string> reportLines; // from its descriptor 3
    std::string output;                   // its standard output and error, the end of it
};

// Starts argv (argv[0] an absolute path) with descriptor 3 as its report pipe, in a process group of
// its own; kills that group after timeoutSeconds.
ChildOutcome RunChild(const std::vector<std::string>& argv, double timeoutSeconds);

// This program's own path, for starting it again.
std::string SelfPath();

} // namespace kfhost::validate
