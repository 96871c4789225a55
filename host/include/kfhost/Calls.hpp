// Which add-on the host is in, and in which call, at every moment: the crash and hang reports, the
// exception reports and -v read it. Every call of the host into an add-on goes through CallAddOn;
// every table entry runs inside a HostEntry, during which the add-on's clock rests.
#pragma once

#include "kfsdk/ExceptionText.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kfhost {

class AddOn;
class Host;

// Exit codes of kfhost when an add-on ends it.
inline constexpr int kExitAddOnCrashed = 3; // a fatal signal inside an add-on's call
inline constexpr int kExitAddOnHung = 4;    // an add-on's call did not return within --timeout

struct CallWatch {
    unsigned timeoutSeconds = 0; // 0: calls may take as long as they like
    bool verbose = false;        // print each call into an add-on on stderr as it is made
};
// Applies to every call made from now on.
void SetCallWatch(CallWatch watch);
const CallWatch& CurrentCallWatch();
// Fatal signals (on an alternate stack, so that a stack overflow is reported too) and the timeout
// print what add-on and call they ended, then end the process. kfhost installs them once.
void InstallCallReports();

// One call into an add-on, from entry to return.
class AddOnCall {
public:
    AddOnCall(const AddOn& addOn, std::string_view call) noexcept;
    ~AddOnCall();
    AddOnCall(const AddOnCall&) = delete;
    AddOnCall& operator=(const AddOnCall&) = delete;
};

// The host serving a table entry on an add-on's behalf.
class HostEntry {
public:
    explicit HostEntry(const char* entry) noexcept;
    ~HostEntry();
    HostEntry(const HostEntry&) = delete;
    HostEntry& operator=(const HostEntry&) = delete;
};

// The add-on and the call the host is in, empty outside every add-on.
std::pair<std::string, std::string> CurrentCall();

// Writes into the transcript that an exception left the add-on's call (or, addOn null, a table
// entry of the host). Call only inside a catch block.
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
