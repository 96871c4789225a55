// The host's main run loop, standing in for the operating system's: timers and file-descriptor
// watches whose callbacks arrive on the main thread between host events. Served by the host
// (a poll loop headless, the Qt event loop with windows).
#pragma once

#include "HostTypes.hpp"

namespace MainLoop {

using TimerID = Int64; // 0 means none
using WatchID = Int64; // 0 means none

enum WatchEvents : UInt32 { Readable = 1, Writable = 2 };

using TimerProc = void (*)(TimerID timer, void* userData);
using WatchProc = void (*)(WatchID watch, int fd, UInt32 readyEvents, void* userData);

// One-shot timer firing seconds from now; 0 when the host has no run loop.
TimerID AddTimer(double seconds, TimerProc proc, void* userData);
void RemoveTimer(TimerID timer);
// Watch fd for the given events (a mask of WatchEvents); re-adding the same fd replaces the watch.
WatchID AddWatch(int fd, UInt32 events, WatchProc proc, void* userData);
void RemoveWatch(WatchID watch);
// Seconds on the host's monotonic clock.
double Now();

} // namespace MainLoop
