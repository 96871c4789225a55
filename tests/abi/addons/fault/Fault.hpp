// The fault probe: a hostile add-on that crashes, hangs, throws, ends the process, plays with the
// process's signals, threads and working folder where it is told to.
#pragma once

#include <string_view>

namespace fault {

// Menu 32500 item N does How(N) (fault.res names them).
enum class How {
    None,
    Null,
    Abort,
    Loop,
    Recursion,
    BadAlloc,
    RuntimeError,
    Int,
    Return,
    LoopThroughHost,      // loops calling a host entry
    LoopMasked,           // blocks every signal, then loops
    LoopAlarmOff,         // alarm(0), then loops
    RaiseAlarm,           // raise(SIGALRM)
    JumpOutOfCallback,    // longjmp from a modal dialog's callback back into the menu handler
    BrokenPipe,           // raise(SIGPIPE), then writes into a pipe nobody reads; logs what the write answered
    CallAfterReturn,      // a thread that calls the host after the handler returned
    CrashAfterReturn,     // a thread that faults after the handler returned
    ResetHandlers,        // puts every fatal signal back to its default
    ResetHandlersAndNull, // the same, then dereferences null
    Exit0,                // exit(0)
    UnderscoreExit7,      // _exit(7)
    CallFromThread,       // calls the host from another thread while the handler waits; logs the answer
    ChdirUmask,           // chdir("/") and umask(0777)
    WriteInFramework,     // creates a folder and a file in the framework folder; logs where and how
    BadPointerToHost,     // hands the host a pointer it cannot write through
    ModalDialog,          // opens its modal dialog (the script decides how long it stays)
};

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
