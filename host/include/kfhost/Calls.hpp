// Which add-on the host is in, and in which call, at every moment: the crash, hang and exit
// reports, the exception reports and -v read it. Every call of the host into an add-on goes through
// CallAddOn; every table entry runs inside a TableEntryCall. The reports are made by means an add-on
// cannot switch off: a watchdog thread on the monotonic clock for hangs, fatal-signal handlers put
// back after every call into an add-on, an exit hook, and (kfhost's command line) a supervising
// parent process for what ends the process outright.
#pragma once

#include "kfsdk/ExceptionText.hpp"
#include "kfsdk/HostTable.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kfhost {

class AddOn;
class Host;

// Exit codes of kfhost when an add-on ends it.
inline constexpr int kExitAddOnCrashed = 3; // a fatal signal, or an exit, inside an add-on's call
inline constexpr int kExitAddOnHung = 4;    // an add-on's call did not return within --timeout

struct CallWatch {
    unsigned timeoutSeconds = 0; // 0: calls may take as long as they like
    bool verbose = false;        // print each call into an add-on on stderr as it is made
};
// Applies to every call made from now on; a timeout starts the watchdog thread.
void SetCallWatch(CallWatch watch);
const CallWatch& CurrentCallWatch();
// Fatal signals (on an alternate stack, so that a stack overflow is reported too), the exit hook
// and the thread rule's notion of the main thread (the caller's); SIGPIPE is ignored so that a
// write to a closed pipe fails instead of ending the host. Once per process, before any add-on runs.
void InstallCallReports();

// kfhost's command line: forks, and returns only in the child, which runs the host. The parent
// waits for it and ends as it ended; when the child ends inside an add-on's call without having
// said so itself (the add-on's _exit, a crash after it reset the handlers), the parent names the
// add-on and the call and ends with kExitAddOnCrashed. Termination signals are passed on, and a
// child that does not end on them is killed. Without a fork it returns at once, unsupervised.
void SuperviseThisProcess();

// The innermost add-on and call on the stack (a person's wait in between included), or two empty
// texts outside every add-on.
std::pair<std::string, std::string> CurrentCall();

// One call into an add-on, from entry to return. On return the host's signal handlers and mask
// are put back, and frames a longjmp skipped are dropped (and reported).
class AddOnCall {
public:
    AddOnCall(AddOn& addOn, std::string_view call) noexcept;
    ~AddOnCall();
    AddOnCall(const AddOnCall&) = delete;
    AddOnCall& operator=(const AddOnCall&) = delete;

private:
    AddOn& addOn_;
    int index_;
};

// The host serving a table entry on an add-on's behalf.
class TableEntryCall {
public:
    explicit TableEntryCall(const char* entry) noexcept;
    ~TableEntryCall();
    TableEntryCall(const TableEntryCall&) = delete;
    TableEntryCall& operator=(const TableEntryCall&) = delete;

private:
    int index_;
};

// The host waiting for a person (a modal dialog's event loop): that time is not the add-on's.
class UserWait {
public:
    UserWait() noexcept;
    ~UserWait();
    UserWait(const UserWait&) = delete;
    UserWait& operator=(const UserWait&) = delete;

private:
    int index_;
    std::int64_t start_;
};

// Whether the caller runs on the host's main thread (the one that installed the call reports, or
// the one that made the first host).
bool OnHostThread() noexcept;
// Makes the caller the main thread unless one is known already (every host does it when made).
void AdoptHostThread() noexcept;
// A table entry refused because it was called from another thread: the warning names the add-on
// and the entry, and reaches the host's warnings on its thread. Safe from any thread, even with a
// context whose add-on is gone.
void RefuseOffThread(KF_HostContext* context, const char* entry) noexcept;

// The add-on's bundle code is looked for when a fault happens while no call is under way; the
// host tells which add-ons exist (and their libraries) at load and unload.
void TrackAddOn(const AddOn& addOn) noexcept;
void ForgetAddOn(const AddOn& addOn) noexcept;
// Moves the warnings made on other threads into host's warnings (on the main thread).
void CollectOffThreadWarnings(Host& host);

// Writes into the transcript, and into the host's warnings, that an exception left the add-on's
// call (or, addOn null, a table entry of the host). Call only inside a catch block.
void ReportException(Host& host, const AddOn* addOn, std::string_view call) noexcept;

// Calls fn (the add-on's function) as call of addOn: an exception is reported, and answered with
// what answer() gives (called inside the catch block).
template <typename F, typename Answer>
auto CallAddOnOr(AddOn& addOn, Host& host, std::string_view call, F&& fn, Answer&& answer) noexcept
{
    AddOnCall scope(addOn, call);
    try {
        return fn();
    } catch (...) {
        ReportException(host, &addOn, call);
        return answer();
    }
}

// ... answered with onException.
template <typename R, typename F>
R CallAddOn(AddOn& addOn, Host& host, std::string_view call, R onException, F&& fn) noexcept
{
    return CallAddOnOr(
        addOn, host, call, [&]() -> R { return fn(); }, [&] { return onException; });
}

// ... of a call that answers nothing.
template <typename F>
void CallAddOn(AddOn& addOn, Host& host, std::string_view call, F&& fn) noexcept
{
    CallAddOnOr(
        addOn, host, call, [&] { fn(); }, [] {});
}

// ... of a call that answers a host error code: the exception becomes the code of its kind.
template <typename F>
std::int32_t CallAddOnForCode(AddOn& addOn, Host& host, std::string_view call, F&& fn) noexcept
{
    return CallAddOnOr(
        addOn, host, call, [&]() -> std::int32_t { return fn(); }, [] { return kfsdk::ErrorOfCurrentException(); });
}

} // namespace kfhost
