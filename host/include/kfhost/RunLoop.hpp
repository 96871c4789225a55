// The host's main run loop: one-shot timers and file-descriptor watches whose callbacks run on the
// main thread. Headless it is a poll loop; a windowing backend supplies its own implementation.
#pragma once

#include <cstdint>
#include <functional>
#include <map>

namespace kfhost {

class RunLoop {
public:
    using TimerFn = std::function<void(std::int64_t timer)>;
    using WatchFn = std::function<void(std::int64_t watch, int fd, std::uint32_t readyEvents)>;
    enum : std::uint32_t { Readable = 1, Writable = 2 };

    virtual ~RunLoop() = default;
    virtual std::int64_t AddTimer(double seconds, TimerFn fn) = 0;
    virtual void RemoveTimer(std::int64_t timer) = 0;
    // Re-adding a watched fd replaces its watch.
    virtual std::int64_t AddWatch(int fd, std::uint32_t events, WatchFn fn) = 0;
    virtual void RemoveWatch(std::int64_t watch) = 0;
    // Seconds on a monotonic clock.
    virtual double Now() const = 0;
    // Runs for up to seconds; returns earlier once no timer or watch is left.
    virtual void RunFor(double seconds) = 0;
    virtual bool HasPending() const = 0;
};

class PollRunLoop final : public RunLoop {
public:
    std::int64_t AddTimer(double seconds, TimerFn fn) override;
    void RemoveTimer(std::int64_t timer) override;
    std::int64_t AddWatch(int fd, std::uint32_t events, WatchFn fn) override;
    void RemoveWatch(std::int64_t watch) override;
    double Now() const override;
    void RunFor(double seconds) override;
    bool HasPending() const override { return !timers_.empty() || !watches_.empty(); }

private:
    struct Timer {
        double due;
        TimerFn fn;
    };
    struct Watch {
        int fd;
        std::uint32_t events;
        WatchFn fn;
    };
    // Fires due timers in order of their due time; answers whether any fired.
    bool FireDueTimers();
    std::int64_t nextID_ = 1;
    std::map<std::int64_t, Timer> timers_;
    std::map<std::int64_t, Watch> watches_;
};

} // namespace kfhost
