#include "kfhost/Calls.hpp"

#include "CallRecord.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
#include <new>
#include <thread>

namespace kfhost {

namespace detail {

namespace {

CallRecord sLocalRecord{};
CallRecord* sRecord = &sLocalRecord;

} // namespace

CallRecord& Record()
{
    return *sRecord;
}

bool ShareRecord()
{
    void* page = ::mmap(nullptr, sizeof(CallRecord), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED)
        return false;
    sRecord = new (page) CallRecord{};
    return true;
}

int InnermostAddOnFrame(const CallRecord& record, int depth)
{
    for (int i = std::min(depth, kMaxFrames) - 1; i >= 0; --i) {
        if (record.frames[i].kind == FrameKind::User) // what happens while a person works is not the add-on's
            return -1;
        if (record.frames[i].kind == FrameKind::AddOn)
            return i;
    }
    return -1;
}

ReportLine& ReportLine::operator<<(const char* text)
{
    for (; text && *text && length_ < sizeof text_; ++text)
        text_[length_++] = *text;
    return *this;
}

ReportLine& ReportLine::operator<<(unsigned long value)
{
    char digits[24];
    int i = sizeof digits;
    do {
        digits[--i] = char('0' + value % 10);
        value /= 10;
    } while (value && i > 0);
    for (; i < int(sizeof digits) && length_ < sizeof text_; ++i)
        text_[length_++] = digits[i];
    return *this;
}

void ReportLine::WriteTo(int fd) const
{
    for (std::size_t done = 0; done < length_;) {
        const ssize_t n = ::write(fd, text_ + done, length_ - done);
        if (n <= 0)
            return;
        done += std::size_t(n);
    }
}

} // namespace detail

namespace {

using detail::CallRecord;
using detail::Frame;
using detail::FrameKind;
using detail::kFrameText;
using detail::kMaxFrames;
using detail::Record;
using detail::ReportLine;

CallWatch sWatch;
std::atomic<unsigned> sTimeoutSeconds{0};
bool sInstalled = false;
std::atomic<bool> sHasMainThread{false};
pthread_t sMainThread;
sigset_t sHostMask;
stack_t sAltStack{};

constexpr int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGSYS, SIGTRAP};

std::int64_t Monotonic()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

void Copy(char (&to)[kFrameText], std::string_view from)
{
    const std::size_t n = std::min(from.size(), sizeof to - 1);
    if (n > 0)
        std::memcpy(to, from.data(), n);
    to[n] = 0;
}

// Frames change between two steps of the sequence, so that the watchdog reads a whole picture.
template <typename F>
void Change(F&& change)
{
    CallRecord& r = Record();
    r.sequence.fetch_add(1, std::memory_order_acq_rel);
    change(r);
    r.sequence.fetch_add(1, std::memory_order_release);
}

int Push(FrameKind kind, const void* addOn, std::string_view who, std::string_view call)
{
    int index = 0;
    Change([&](CallRecord& r) {
        index = r.depth.load(std::memory_order_relaxed);
        if (index < kMaxFrames) {
            Frame& f = r.frames[index];
            f.kind = kind;
            f.addOn = addOn;
            f.start = Monotonic();
            Copy(f.who, who);
            Copy(f.call, call);
        }
        r.depth.store(index + 1, std::memory_order_relaxed);
    });
    return index;
}

void PopTo(int index)
{
    Change([&](CallRecord& r) { r.depth.store(index, std::memory_order_relaxed); });
}

// ---- the add-ons, for faults outside every call ----

struct CodeRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

struct Slot {
    std::atomic<const void*> addOn{nullptr};
    char label[kFrameText]{};
    char lastCall[kFrameText]{};
    CodeRange code[4];
    std::atomic<int> codeCount{0};
};

constexpr int kMaxSlots = 64;
Slot sSlots[kMaxSlots];
std::mutex sSlotsMutex; // slots change, and other threads read them, under it

Slot* SlotOf(const void* addOn)
{
    for (Slot& s : sSlots)
        if (s.addOn.load(std::memory_order_acquire) == addOn)
            return &s;
    return nullptr;
}

// Async-signal-safe: the slots hold plain ranges.
const Slot* SlotOfAddress(std::uintptr_t address)
{
    if (address == 0)
        return nullptr;
    for (const Slot& s : sSlots) {
        if (!s.addOn.load(std::memory_order_acquire))
            continue;
        const int count = s.codeCount.load(std::memory_order_acquire);
        for (int i = 0; i < count; ++i)
            if (address >= s.code[i].begin && address < s.code[i].end)
                return &s;
    }
    return nullptr;
}

struct CodeSearch {
    std::uintptr_t base;
    Slot* slot;
};

int FindCode(dl_phdr_info* info, std::size_t, void* data)
{
    auto* search = static_cast<CodeSearch*>(data);
    if (info->dlpi_addr != search->base)
        return 0;
    int count = 0;
    for (int i = 0; i < info->dlpi_phnum && count < 4; ++i) {
        const ElfW(Phdr)& ph = info->dlpi_phdr[i];
        if (ph.p_type == PT_LOAD && (ph.p_flags & PF_X))
            search->slot->code[count++] = {info->dlpi_addr + ph.p_vaddr, info->dlpi_addr + ph.p_vaddr + ph.p_memsz};
    }
    search->slot->codeCount.store(count, std::memory_order_release);
    return 1;
}

std::uintptr_t ProgramCounter(void* context)
{
    const auto* uc = static_cast<const ucontext_t*>(context);
    if (!uc)
        return 0;
#if defined(__x86_64__)
    return std::uintptr_t(uc->uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return std::uintptr_t(uc->uc_mcontext.pc);
#else
    return 0;
#endif
}

// ---- warnings made on other threads ----

constexpr int kMaxPending = 16;
std::mutex sPendingMutex;
std::atomic<bool> sAnyPending{false};
char sPending[kMaxPending][320];
int sPendingCount = 0;
int sPendingLost = 0;

// ---- reports ----

void EndReported(const ReportLine& line, int status)
{
    Record().reported.store(1, std::memory_order_release);
    line.WriteTo(STDERR_FILENO);
    ::_exit(status);
}

void OnFatalSignal(int signal, siginfo_t*, void* context)
{
    const CallRecord& r = Record();
    const int depth = r.depth.load(std::memory_order_acquire);
    const int call = detail::InnermostAddOnFrame(r, depth);
    const Slot* owner = SlotOfAddress(ProgramCounter(context));
    ReportLine line;
    line << "kfhost: ";
    if (call >= 0 && (!owner || owner->addOn.load(std::memory_order_relaxed) == r.frames[call].addOn)) {
        const Frame& top = r.frames[std::min(depth, kMaxFrames) - 1];
        line << r.frames[call].who;
        if (top.kind == FrameKind::Host && !owner)
            line << " crashed in host entry " << top.call << ", called in " << r.frames[call].call;
        else
            line << " crashed in " << r.frames[call].call;
        if (!OnHostThread())
            line << " on another thread";
    } else if (owner) {
        line << owner->label << " crashed after it returned from "
             << (owner->lastCall[0] ? owner->lastCall : "its last call");
    } else { // the host's own fault: the ordinary death
        ::signal(signal, SIG_DFL);
        ::raise(signal);
        return;
    }
    line << " (signal " << static_cast<unsigned long>(signal) << ")\n";
    EndReported(line, kExitAddOnCrashed);
}

void OnExit(int status, void*)
{
    const CallRecord& r = Record();
    const int call = detail::InnermostAddOnFrame(r, r.depth.load(std::memory_order_acquire));
    if (call < 0 || r.reported.load(std::memory_order_acquire))
        return;
    ReportLine line;
    line << "kfhost: " << r.frames[call].who << " ended the process in " << r.frames[call].call << " (status "
         << static_cast<unsigned long>(static_cast<unsigned>(status) & 0xffu) << ")\n";
    EndReported(line, kExitAddOnCrashed);
}

// What the host wants of the process's signals; put back whenever an add-on's call returns.
void InstallSignalState()
{
    if (!sInstalled)
        return;
    ::sigaltstack(&sAltStack, nullptr);
    struct sigaction action {};
    action.sa_sigaction = &OnFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (const int signal : kFatalSignals)
        ::sigaction(signal, &action, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    ::sigaction(SIGPIPE, &ignore, nullptr);
    if (OnHostThread())
        ::pthread_sigmask(SIG_SETMASK, &sHostMask, nullptr);
}

// ---- the watchdog ----

struct HangPicture {
    bool calling = false;
    std::int64_t start = 0;
    char who[kFrameText];
    char call[kFrameText];
    char hostEntry[kFrameText]; // empty unless the innermost frame is a host entry
};

// A consistent picture of the innermost call, taken between two changes of the frames.
HangPicture Look()
{
    const CallRecord& r = Record();
    for (;;) {
        const std::uint32_t before = r.sequence.load(std::memory_order_acquire);
        if (before % 2 != 0) {
            std::this_thread::yield();
            continue;
        }
        HangPicture p{};
        const int depth = std::min(r.depth.load(std::memory_order_relaxed), kMaxFrames);
        for (int i = depth - 1; i >= 0; --i) {
            const Frame& f = r.frames[i];
            if (f.kind == FrameKind::User) // the host waits for a person
                break;
            if (f.kind == FrameKind::AddOn) {
                p.calling = true;
                p.start = f.start;
                std::memcpy(p.who, f.who, sizeof p.who);
                std::memcpy(p.call, f.call, sizeof p.call);
                const Frame& top = r.frames[depth - 1];
                if (top.kind == FrameKind::Host)
                    std::memcpy(p.hostEntry, top.call, sizeof p.hostEntry);
                break;
            }
        }
        std::atomic_thread_fence(std::memory_order_acquire);
        if (r.sequence.load(std::memory_order_relaxed) == before)
            return p;
    }
}

[[noreturn]] void Watchdog()
{
    constexpr std::int64_t kLook = 250'000'000; // how often, at most, it looks again
    for (;;) {
        const unsigned timeout = sTimeoutSeconds.load(std::memory_order_acquire);
        const HangPicture p = timeout ? Look() : HangPicture{};
        std::int64_t wait = kLook;
        if (p.calling) {
            const std::int64_t left = p.start + std::int64_t(timeout) * 1000000000 - Monotonic();
            if (left <= 0) {
                ReportLine line;
                line << "kfhost: " << p.who << " did not return from " << p.call << " within "
                     << static_cast<unsigned long>(timeout) << " s";
                if (p.hostEntry[0])
                    line << " (it is in host entry " << p.hostEntry << ")";
                line << "\n";
                EndReported(line, kExitAddOnHung);
            }
            wait = std::min(left, kLook);
        }
        const timespec pause{time_t(wait / 1000000000), long(wait % 1000000000)};
        ::nanosleep(&pause, nullptr);
    }
}

void StartWatchdog()
{
    static std::once_flag started;
    std::call_once(started, [] {
        // The thread takes no signal: none of its own, none meant for the add-ons.
        sigset_t all, previous;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &previous);
        std::thread(Watchdog).detach();
        ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    });
}

void Collect(Host& host)
{
    if (!sAnyPending.load(std::memory_order_acquire))
        return;
    std::vector<std::string> lines;
    {
        std::lock_guard lock(sPendingMutex);
        for (int i = 0; i < sPendingCount; ++i)
            lines.emplace_back(sPending[i]);
        if (sPendingLost > 0)
            lines.push_back("warning: " + std::to_string(sPendingLost) + " more calls from other threads refused");
        sPendingCount = 0;
        sPendingLost = 0;
        sAnyPending.store(false, std::memory_order_release);
    }
    for (auto& line : lines)
        host.Warn(std::move(line));
}

} // namespace

void SetCallWatch(CallWatch watch)
{
    sWatch = watch;
    sTimeoutSeconds.store(watch.timeoutSeconds, std::memory_order_release);
    if (watch.timeoutSeconds > 0)
        StartWatchdog();
}

std::pair<std::string, std::string> CurrentCall()
{
    const CallRecord& r = Record();
    for (int i = std::min(r.depth.load(std::memory_order_relaxed), kMaxFrames) - 1; i >= 0; --i)
        if (r.frames[i].kind == FrameKind::AddOn)
            return {r.frames[i].who, r.frames[i].call};
    return {};
}

const CallWatch& CurrentCallWatch()
{
    return sWatch;
}

void InstallCallReports()
{
    if (sInstalled)
        return;
    static char altStack[1 << 16];
    sAltStack.ss_sp = altStack;
    sAltStack.ss_size = sizeof altStack;
    sAltStack.ss_flags = 0;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &sHostMask);
    for (const int signal : kFatalSignals)
        sigdelset(&sHostMask, signal);
    sMainThread = ::pthread_self();
    sHasMainThread.store(true, std::memory_order_release);
    sInstalled = true;
    ::on_exit(&OnExit, nullptr);
    InstallSignalState();
}

bool OnHostThread() noexcept
{
    return !sHasMainThread.load(std::memory_order_acquire) || ::pthread_equal(::pthread_self(), sMainThread);
}

void AdoptHostThread() noexcept
{
    bool expected = false;
    if (sHasMainThread.load(std::memory_order_acquire))
        return;
    sMainThread = ::pthread_self();
    sHasMainThread.compare_exchange_strong(expected, true, std::memory_order_acq_rel);
}

void RefuseOffThread(KF_HostContext* context, const char* entry) noexcept
{
    char label[kFrameText] = "an add-on no longer loaded";
    {
        std::lock_guard lock(sSlotsMutex);
        if (const Slot* s = SlotOf(context))
            std::memcpy(label, s->label, sizeof label);
    }
    std::lock_guard lock(sPendingMutex);
    sAnyPending.store(true, std::memory_order_release);
    if (sPendingCount == kMaxPending) {
        ++sPendingLost;
        return;
    }
    std::snprintf(sPending[sPendingCount++], sizeof sPending[0],
                  "warning: %s called host entry %s from another thread; refused (every call is made on the host's "
                  "main thread)",
                  label, entry ? entry : "?");
}

void CollectOffThreadWarnings(Host& host)
{
    if (OnHostThread())
        Collect(host);
}

void TrackAddOn(const AddOn& addOn) noexcept
{
    std::lock_guard lock(sSlotsMutex);
    Slot* slot = SlotOf(&addOn);
    if (!slot)
        slot = SlotOf(nullptr);
    if (!slot)
        return; // more add-ons than slots: the later ones are named only inside their calls
    try {
        Copy(slot->label, addOn.Label());
    } catch (...) {
    }
    slot->lastCall[0] = 0;
    slot->codeCount.store(0, std::memory_order_release);
    slot->addOn.store(&addOn, std::memory_order_release);
    link_map* map = nullptr;
    if (addOn.library && ::dlinfo(addOn.library, RTLD_DI_LINKMAP, &map) == 0 && map) {
        CodeSearch search{map->l_addr, slot};
        ::dl_iterate_phdr(&FindCode, &search);
    }
}

void ForgetAddOn(const AddOn& addOn) noexcept
{
    std::lock_guard lock(sSlotsMutex);
    if (Slot* slot = SlotOf(&addOn)) {
        slot->codeCount.store(0, std::memory_order_release);
        slot->addOn.store(nullptr, std::memory_order_release);
    }
}

AddOnCall::AddOnCall(AddOn& addOn, std::string_view call) noexcept : addOn_(addOn)
{
    std::string who;
    try {
        who = addOn.Label();
        if (sWatch.verbose)
            std::clog << "kfhost: call " << who << ": " << call << std::endl;
    } catch (...) { // no memory for the name: the call is still counted
    }
    index_ = Push(FrameKind::AddOn, &addOn, who.empty() ? std::string_view("an add-on") : std::string_view(who), call);
}

AddOnCall::~AddOnCall()
{
    CallRecord& r = Record();
    const int depth = r.depth.load(std::memory_order_relaxed);
    std::string jumped;
    if (depth > index_ + 1 && index_ + 1 < kMaxFrames) {
        // A longjmp left frames above this one without unwinding them.
        const int inner = detail::InnermostAddOnFrame(r, depth);
        jumped = std::string(r.frames[inner > index_ ? inner : index_].call);
    }
    {
        std::lock_guard lock(sSlotsMutex);
        if (Slot* slot = SlotOf(&addOn_); slot && index_ < kMaxFrames) {
            std::memcpy(slot->lastCall, r.frames[index_].call, sizeof slot->lastCall);
            std::memcpy(slot->label, r.frames[index_].who, sizeof slot->label);
        }
    }
    PopTo(index_);
    InstallSignalState();
    if (addOn_.host && OnHostThread()) {
        try {
            if (!jumped.empty())
                addOn_.host->Warn("warning: " + addOn_.Label() + " left " + jumped +
                                  " by jumping past the host (longjmp); the host's frames of it are dropped");
            Collect(*addOn_.host);
        } catch (...) {
        }
    }
}

TableEntryCall::TableEntryCall(const char* entry) noexcept
    : index_(Push(FrameKind::Host, nullptr, {}, entry ? entry : ""))
{}

TableEntryCall::~TableEntryCall()
{
    PopTo(index_);
}

UserWait::UserWait() noexcept : index_(Push(FrameKind::User, nullptr, {}, "waiting for the user")), start_(Monotonic())
{}

UserWait::~UserWait()
{
    const std::int64_t waited = Monotonic() - start_;
    Change([&](CallRecord& r) {
        for (int i = std::min(index_, kMaxFrames) - 1; i >= 0; --i)
            if (r.frames[i].kind == FrameKind::AddOn)
                r.frames[i].start += waited;
        r.depth.store(index_, std::memory_order_relaxed);
    });
}

void ReportException(Host& host, const AddOn* addOn, std::string_view call) noexcept
{
    try {
        const std::string what = kfsdk::DescribeCurrentException();
        if (addOn)
            host.Warn("exception from " + Quote(addOn->Label()) + " in " + std::string(call) + ": " + what);
        else
            host.Warn("exception in host entry " + std::string(call) + ": " + what);
    } catch (...) { // no memory left to say it: the call's answer tells
    }
}

} // namespace kfhost
