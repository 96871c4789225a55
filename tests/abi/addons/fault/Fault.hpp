// The fault probe: an add-on that crashes, hangs or throws where it is told to.
#pragma once

#include <string_view>

namespace fault {

enum class How { None, Null, Abort, Loop, Recursion, BadAlloc, RuntimeError, Int };

// Does it (for the throwing kinds: throws).
void Do(How how);
How FromName(std::string_view name);

// The entry point that does `how` when called (in-process tests set it; a bundle reads
// KF_FAULT_AT="<add-on name>:<entry point>:<how>").
struct Plan {
    std::string_view entry;
    How how = How::None;
};
Plan& CurrentPlan();

} // namespace fault
