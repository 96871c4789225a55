// Table entries of the main run loop, launching, host settings and optional services.
#include "Services.hpp"

namespace kfhost::detail {
namespace {

std::int64_t AddTimer(KF_HostContext* c, double seconds, KF_TimerProc proc, void* cookie, void* userData)
{
    if (!proc)
        return 0;
    AddOn* self = &Self(c);
    const std::int64_t id = HostOf(c).Loop().AddTimer(seconds, [self, proc, cookie, userData](std::int64_t timer) {
        self->timers.erase(timer);
        proc(cookie, timer, userData);
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
    const std::int64_t id = HostOf(c).Loop().AddWatch(
        fd, events, [proc, cookie, userData](std::int64_t watch, int readyFd, std::uint32_t ready) {
            proc(cookie, watch, readyFd, ready, userData);
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

double Now(KF_HostContext* c) { return HostOf(c).Loop().Now(); }

KF_Err SpawnDetached(KF_HostContext* c, const char* const* argv)
{
    if (!argv || !argv[0])
        return KF_APIERR_BADPARS;
    std::vector<std::string> args;
    for (const char* const* a = argv; *a; ++a)
        args.emplace_back(*a);
    return HostOf(c).Spawn(args);
}

const char* GetSetting(KF_HostContext* c, const char* key) { return key ? HostOf(c).Setting(key) : nullptr; }

void* GetService(KF_HostContext*, const char*) { return nullptr; }

} // namespace

void FillSystemEntries(KF_HostTable& t)
{
    t.AddTimer = AddTimer;
    t.RemoveTimer = RemoveTimer;
    t.AddWatch = AddWatch;
    t.RemoveWatch = RemoveWatch;
    t.Now = Now;
    t.SpawnDetached = SpawnDetached;
    t.GetSetting = GetSetting;
    t.GetService = GetService;
}

} // namespace kfhost::detail
