// The fault probe: a hostile add-on that crashes, hangs, throws, ends the process, plays with the
// process's signals, threads and working folder where it is told to.
#pragma once

#include <string_view>

namespace fault {

// Does fault number `fault` of the probe's list (for the throwing kinds: throws); menu 32500 item
// N does fault N (fault.res names them in the same order). 0, or a number off the list, does nothing.
void Do(int fault);
// The number of the fault of that name in the list ("bad_alloc", "loop", ...); 0 for no such name.
int FromName(std::string_view name);

// The entry point that does `fault` when called (in-process tests set it; a bundle reads
// KF_FAULT_AT="<add-on name>:<entry point>:<fault name>").
struct Plan {
    std::string_view entry;
    int fault = 0;
};
Plan& CurrentPlan();

} // namespace fault
