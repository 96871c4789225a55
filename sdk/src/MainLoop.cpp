// The main run loop and the operating-system services, served by the host.
#include "KFHostServices.hpp"
#include "MainLoop.hpp"

#include "SdkDetail.hpp"

#include <chrono>

namespace MainLoop {
namespace {

void TimerTrampoline(void* cookie, std::int64_t timer, void* userData)
{
    reinterpret_cast<TimerProc>(cookie)(timer, userData);
}

void WatchTrampoline(void* cookie, std::int64_t watch, std::int32_t fd, std::uint32_t events, void* userData)
{
    reinterpret_cast<WatchProc>(cookie)(watch, fd, events, userData);
}

} // namespace

TimerID AddTimer(double seconds, TimerProc proc, void* userData)
{
    if (!proc)
        return 0;
    return KFSDK_CALL(AddTimer, TimerID(0), seconds, &TimerTrampoline, reinterpret_cast<void*>(proc), userData);
}

void RemoveTimer(TimerID timer) { KFSDK_CALL(RemoveTimer, void(), timer); }

WatchID AddWatch(int fd, UInt32 events, WatchProc proc, void* userData)
{
    if (!proc)
        return 0;
    return KFSDK_CALL(AddWatch, WatchID(0), fd, events, &WatchTrampoline, reinterpret_cast<void*>(proc), userData);
}

void RemoveWatch(WatchID watch) { KFSDK_CALL(RemoveWatch, void(), watch); }

double Now()
{
    if (kfsdk::detail::Table() && kfsdk::detail::Table()->Now)
        return kfsdk::detail::Table()->Now(kfsdk::detail::Context());
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace MainLoop

namespace KFHost {

GSErrCode SpawnDetached(const char* const* argv)
{
    if (!argv || !argv[0])
        return APIERR_BADPARS;
    return KFSDK_CALL(SpawnDetached, APIERR_GENERAL, argv);
}

const char* GetSetting(const char* key)
{
    if (!key)
        return nullptr;
    return KFSDK_CALL(GetSetting, static_cast<const char*>(nullptr), key);
}

} // namespace KFHost
