// How long a test waits for what must happen. A wait is no measurement: it ends as soon as the
// awaited thing happens, and runs out only when it never comes. So the patience is far beyond what
// anything takes under a sanitizer on a loaded machine (and below ctest's timeout of a test), and
// no test fails because the machine is slow.
#pragma once

#include <functional>

namespace kftest {

inline constexpr double kPatienceSeconds = 60.0;

// Polls pred every few milliseconds until it holds or patience runs out; whether it held.
bool WaitUntil(const std::function<bool()>& pred, double patience = kPatienceSeconds);

} // namespace kftest
