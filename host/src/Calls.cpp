#include "kfhost/Calls.hpp"

#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>

namespace kfhost {
namespace {

// The signal handlers read these, so they are plain arrays written before the depth grows.
struct Frame {
    char who[128];
    char call[128];
    bool host;
};
constexpr int kMaxFrames = 64;
Frame sFrames[kMaxFrames];
volatile sig_atomic_t sDepth = 0; // may pass kMaxFrames: deeper frames are counted, not kept
CallWatch sWatch;

void Copy(char (&to)[128], std::string_view from)
{
    const std::size_t n = std::min(from.size(), sizeof to - 1);
    if (n > 0)
        std::memcpy(to, from.data(), n);
    to[n] = 0;
}

const Frame* Top()
{
    const int depth = sDepth;
    return depth > 0 ? &sFrames[std::min(depth, kMaxFrames) - 1] : nullptr;
}

void Push(std::string_view who, std::string_view call, bool host)
{
    const int depth = sDepth;
    if (depth < kMaxFrames) {
        Frame& f = sFrames[depth];
        Copy(f.who, who);
        Copy(f.call, call);
        f.host = host;
    }
    sDepth = depth + 1;
}

// The clock runs while an add-on's code runs, and rests while the host serves it.
void Arm()
{
    if (sWatch.timeoutSeconds == 0)
        return;
    const Frame* top = Top();
    ::alarm(top && !top->host ? sWatch.timeoutSeconds : 0);
}

void Say(const char* text)
{
    [[maybe_unused]] auto n = ::write(STDERR_FILENO, text, std::strlen(text));
}

void SayNumber(unsigned value)
{
    char digits[16];
    int i = sizeof digits - 1;
    digits[i] = 0;
    do {
        digits[--i] = char('0' + value % 10);
        value /= 10;
    } while (value && i > 0);
    Say(digits + i);
}

void OnFatalSignal(int signal)
{
    const Frame* top = Top();
    if (!top) { // the host's own fault: the ordinary death
        ::signal(signal, SIG_DFL);
        ::raise(signal);
        return;
    }
    Say("kfhost: ");
    Say(top->who[0] ? top->who : "an add-on");
    Say(top->host ? " crashed in host entry " : " crashed in ");
    Say(top->call);
    Say(" (signal ");
    SayNumber(unsigned(signal));
    Say(")\n");
    ::_exit(kExitAddOnCrashed);
}

void OnAlarm(int)
{
    const Frame* top = Top();
    if (!top || top->host)
        return;
    Say("kfhost: ");
    Say(top->who);
    Say(" did not return from ");
    Say(top->call);
    Say(" within ");
    SayNumber(sWatch.timeoutSeconds);
    Say(" s\n");
    ::_exit(kExitAddOnHung);
}

} // namespace

void SetCallWatch(CallWatch watch)
{
    sWatch = watch;
    Arm();
}

const CallWatch& CurrentCallWatch()
{
    return sWatch;
}

void InstallCallReports()
{
    static char altStack[1 << 16];
    stack_t stack{};
    stack.ss_sp = altStack;
    stack.ss_size = sizeof altStack;
    ::sigaltstack(&stack, nullptr);
    struct sigaction action {};
    action.sa_handler = &OnFatalSignal;
    action.sa_flags = SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT})
        ::sigaction(signal, &action, nullptr);
    action.sa_handler = &OnAlarm;
    action.sa_flags = SA_ONSTACK | SA_RESTART; // an alarm that comes as the call returns interrupts nothing
    ::sigaction(SIGALRM, &action, nullptr);
}

AddOnCall::AddOnCall(const AddOn& addOn, std::string_view call) noexcept
{
    std::string who;
    try {
        who = addOn.Label();
        if (sWatch.verbose)
            std::clog << "kfhost: call " << who << ": " << call << std::endl;
    } catch (...) { // no memory for the name: the call is still counted
    }
    Push(who.empty() ? std::string_view("an add-on") : std::string_view(who), call, false);
    Arm();
}

AddOnCall::~AddOnCall()
{
    sDepth = sDepth - 1;
    Arm();
}

HostEntry::HostEntry(const char* entry) noexcept
{
    const Frame* top = Top();
    Push(top ? std::string_view(top->who) : std::string_view(), entry, true);
    Arm();
}

HostEntry::~HostEntry()
{
    sDepth = sDepth - 1;
    Arm();
}

std::pair<std::string, std::string> CurrentCall()
{
    const Frame* top = Top();
    if (!top)
        return {};
    return {top->who, top->call};
}

void ReportException(Host& host, const AddOn* addOn, std::string_view call) noexcept
{
    try {
        const std::string what = kfsdk::DescribeCurrentException();
        if (addOn)
            host.Log().Add("exception from " + Quote(addOn->Label()) + " in " + std::string(call) + ": " + what);
        else
            host.Log().Add("exception in host entry " + std::string(call) + ": " + what);
    } catch (...) { // no memory left to say it: the call's answer tells
    }
}

} // namespace kfhost
