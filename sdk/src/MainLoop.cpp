// The main run loop and the operating-system services, served by the host.
#include "kfsdk/HostServices.hpp"
#include "MainLoop.hpp"

#include "SdkDetail.hpp"

#include <chrono>

namespace MainLoop {
namespace {

void TimerTrampoline(void* cookie, std::int64_t timer, void* userData) noexcept
{
    kfsdk::detail::Shield("run-loop timer", false, [&] {
        reinterpret_cast<TimerProc>(cookie)(timer, userData);
        return true;
    });
}

void WatchTrampoline(void* cookie, std::int64_t watch, std::int32_t fd, std::uint32_t events, void* userData) noexcept
{
    kfsdk::detail::Shield("run-loop watch", false, [&] {
        reinterpret_cast<WatchProc>(cookie)(watch, fd, events, userData);
        return true;
    });
}

} // namespace

TimerID AddTimer(double seconds, TimerProc proc, void* userData)
{
    if (!proc)
        return 0;
    return KFSDK_CALL(AddTimer, seconds, &TimerTrampoline, reinterpret_cast<void*>(proc), userData);
}

void RemoveTimer(TimerID timer)
{
    KFSDK_CALL(RemoveTimer, timer);
}

WatchID AddWatch(int fd, UInt32 events, WatchProc proc, void* userData)
{
    if (!proc)
        return 0;
    return KFSDK_CALL(AddWatch, fd, events, &WatchTrampoline, reinterpret_cast<void*>(proc), userData);
}

void RemoveWatch(WatchID watch)
{
    KFSDK_CALL(RemoveWatch, watch);
}

double Now()
{
    if (kfsdk::detail::Table() && kfsdk::detail::Table()->Now)
        return kfsdk::detail::Table()->Now(kfsdk::detail::Context());
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace MainLoop

namespace HostServices {

HostErrCode SpawnDetached(const char* const* argv)
{
    if (!argv || !argv[0])
        return APIERR_BADPARS;
    return KFSDK_CALL(SpawnDetached, argv);
}

namespace {
const KF_UpdateService* Update()
{
    const auto* service = static_cast<const KF_UpdateService*>(kfsdk::HostService(KF_SERVICE_UPDATE));
    return service && service->size >= sizeof(KF_UpdateService) ? service : nullptr;
}
} // namespace

const char* UpdateServer()
{
    const KF_UpdateService* update = Update();
    return update && update->Server ? update->Server(kfsdk::detail::Context()) : nullptr;
}

double DownloadTimeLimit()
{
    const KF_UpdateService* update = Update();
    return update && update->DownloadTimeLimit ? update->DownloadTimeLimit(kfsdk::detail::Context()) : 0.0;
}

bool Log(const Base::UniString& line)
{
    const auto* log = static_cast<const KF_LogService*>(kfsdk::HostService(KF_SERVICE_LOG));
    if (!log || log->size < sizeof(KF_LogService) || !log->Write)
        return false;
    log->Write(kfsdk::detail::Context(), kfsdk::detail::Units(line), kfsdk::detail::Length(line));
    return true;
}

} // namespace HostServices
