// The host's main run loop on Qt's event loop: timers are QTimers, fd watches QSocketNotifiers, so
// downloads and timers go on while windows are open and modal dialogs run.
#pragma once

#include "kfhost/RunLoop.hpp"

#include <map>
#include <memory>
#include <vector>

class QEventLoop;
class QObject;
class QSocketNotifier;
class QTimer;

namespace kfhost::qt {

class QtRunLoop final : public RunLoop {
public:
    QtRunLoop();
    ~QtRunLoop() override;
    QtRunLoop(const QtRunLoop&) = delete;
    QtRunLoop& operator=(const QtRunLoop&) = delete;

    std::int64_t AddTimer(double seconds, TimerFn fn) override;
    void RemoveTimer(std::int64_t timer) override;
    std::int64_t AddWatch(int fd, std::uint32_t events, WatchFn fn) override;
    void RemoveWatch(std::int64_t watch) override;
    double Now() const override;
    void RunFor(double seconds) override;
    bool HasPending() const override { return !timers_.empty() || !watches_.empty(); }

    std::size_t TimerCount() const { return timers_.size(); }
    std::size_t WatchCount() const { return watches_.size(); }

private:
    // Qt objects are released with deleteLater: a timer or notifier may be dropped from inside
    // its own signal.
    struct Later {
        void operator()(QObject* object) const;
    };
    struct Timer {
        std::unique_ptr<QTimer, Later> timer;
        TimerFn fn;
    };
    struct Watch {
        int fd = -1;
        std::uint32_t events = 0;
        std::unique_ptr<QSocketNotifier, Later> read;
        std::unique_ptr<QSocketNotifier, Later> write;
        WatchFn fn;
    };
    void FireTimer(std::int64_t id);
    void FireWatch(std::int64_t id, std::uint32_t ready);
    void EndWaitsIfIdle();

    std::int64_t nextID_ = 1;
    std::map<std::int64_t, Timer> timers_;
    std::map<std::int64_t, Watch> watches_;
    std::vector<QEventLoop*> waits_; // RunFor loops, innermost last
};

} // namespace kfhost::qt
