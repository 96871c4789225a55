// Table entries of the main run loop, launching, host settings and optional host services.
#include "TableEntries.hpp"
#include "kfhost/Calls.hpp"
#include "kfhost/Text.hpp"

#include <cmath>
#include <string_view>

namespace kfhost::detail {
namespace {

// The host services' functions are table entries too: guarded the same way.
template <typename R, typename F>
R Served(KF_HostContext* c, const char* name, R onException, F&& fn) noexcept
{
    if (!OnHostThread()) {
        RefuseOffThread(c, name);
        return onException;
    }
    CollectOffThreadWarnings(HostOf(c));
    TableEntryCall scope(name);
    try {
        return fn();
    } catch (...) {
        ReportException(HostOf(c), nullptr, name);
        return onException;
    }
}

void WriteLog(KF_HostContext* c, const KF_UChar* text, std::int32_t length) noexcept
{
    Served(c, "log Write", 0, [&] {
        HostOf(c).Log().Add(Quote(Self(c).Label()) + ": " + ToUTF8(Text(text, length)));
        return 0;
    });
}

const char* UpdateServer(KF_HostContext* c) noexcept
{
    return Served(c, "update Server", static_cast<const char*>(nullptr), [&] {
        const std::string& server = HostOf(c).Config().updateServer;
        return server.empty() ? nullptr : server.c_str();
    });
}

double DownloadTimeLimit(KF_HostContext* c) noexcept
{
    return Served(c, "update DownloadTimeLimit", 0.0, [&] {
        const double seconds = HostOf(c).Config().downloadLimit.value_or(0.0);
        return std::isfinite(seconds) && seconds > 0 ? seconds : 0.0;
    });
}

constexpr KF_LogService kLog{sizeof(KF_LogService), &WriteLog};
constexpr KF_UpdateService kUpdate{sizeof(KF_UpdateService), &UpdateServer, &DownloadTimeLimit};

} // namespace

namespace entry {

std::int64_t AddTimer(KF_HostContext* c, double seconds, KF_TimerProc proc, void* cookie, void* userData)
{
    if (!proc)
        return 0;
    AddOn* self = &Self(c);
    Host* host = &HostOf(c);
    const std::int64_t id = host->Loop().AddTimer(seconds, [self, host, proc, cookie, userData](std::int64_t timer) {
        self->timers.erase(timer);
        CallAddOn(*self, *host, "run-loop timer", [&] { proc(cookie, timer, userData); });
    });
    self->timers.insert(id);
    return id;
}

void RemoveTimer(KF_HostContext* c, std::int64_t timer)
{
    if (Self(c).timers.erase(timer))
        HostOf(c).Loop().RemoveTimer(timer);
}

std::int64_t AddWatch(KF_HostContext* c, std::int32_t fd, std::uint32_t events, KF_WatchProc proc, void* cookie,
                      void* userData)
{
    if (!proc || fd < 0)
        return 0;
    AddOn* self = &Self(c);
    Host* host = &HostOf(c);
    const std::int64_t id = host->Loop().AddWatch(
        fd, events, [self, host, proc, cookie, userData](std::int64_t watch, int readyFd, std::uint32_t ready) {
            CallAddOn(*self, *host, "run-loop watch", [&] { proc(cookie, watch, readyFd, ready, userData); });
        });
    // An earlier watch of this fd was replaced; its stale id stays harmless in the set.
    self->watches.insert(id);
    return id;
}

void RemoveWatch(KF_HostContext* c, std::int64_t watch)
{
    if (Self(c).watches.erase(watch))
        HostOf(c).Loop().RemoveWatch(watch);
}

double Now(KF_HostContext* c)
{
    return HostOf(c).Loop().Now();
}

KF_Err SpawnDetached(KF_HostContext* c, const char* const* argv)
{
    if (!argv || !argv[0])
        return KF_APIERR_BADPARS;
    std::vector<std::string> args;
    for (const char* const* a = argv; *a; ++a)
        args.emplace_back(*a);
    return HostOf(c).Spawn(args);
}

const void* GetService(KF_HostContext*, const char* name)
{
    if (!name)
        return nullptr;
    const std::string_view wanted = name;
    if (wanted == KF_SERVICE_LOG)
        return &kLog;
    if (wanted == KF_SERVICE_UPDATE)
        return &kUpdate;
    return nullptr;
}

void ReportException(KF_HostContext* c, const char* call, const char* what)
{
    HostOf(c).Warn("exception from " + Quote(Self(c).Label()) + " in " + std::string(call ? call : "a call") + ": " +
                   std::string(what ? what : "(not described)"));
}

} // namespace entry

} // namespace kfhost::detail
