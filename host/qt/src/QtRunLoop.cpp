#include "kfhost/qt/QtRunLoop.hpp"

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace kfhost::qt {

void QtRunLoop::Later::operator()(QObject* object) const
{
    if (!object)
        return;
    object->disconnect();
    if (auto* notifier = qobject_cast<QSocketNotifier*>(object))
        notifier->setEnabled(false); // unregister now: a new watch of the same fd may follow at once
    if (auto* timer = qobject_cast<QTimer*>(object))
        timer->stop();
    object->deleteLater();
}

QtRunLoop::QtRunLoop() = default;

QtRunLoop::~QtRunLoop()
{
    for (QEventLoop* wait : waits_)
        wait->quit();
}

std::int64_t QtRunLoop::AddTimer(double seconds, TimerFn fn)
{
    const std::int64_t id = nextID_++;
    std::unique_ptr<QTimer, Later> timer(new QTimer);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    const double ms = std::ceil(std::max(0.0, seconds) * 1000.0);
    timer->setInterval(int(std::min(ms, double(std::numeric_limits<int>::max()))));
    QObject::connect(timer.get(), &QTimer::timeout, [this, id] { FireTimer(id); });
    timer->start();
    timers_[id] = Timer{std::move(timer), std::move(fn)};
    return id;
}

void QtRunLoop::RemoveTimer(std::int64_t timer)
{
    timers_.erase(timer);
    EndWaitsIfIdle();
}

void QtRunLoop::FireTimer(std::int64_t id)
{
    const auto it = timers_.find(id);
    if (it == timers_.end())
        return;
    // One-shot: gone before its callback runs, so the callback may add timers freely.
    TimerFn fn = std::move(it->second.fn);
    timers_.erase(it);
    fn(id);
    EndWaitsIfIdle();
}

std::int64_t QtRunLoop::AddWatch(int fd, std::uint32_t events, WatchFn fn)
{
    std::erase_if(watches_, [fd](const auto& entry) { return entry.second.fd == fd; });
    const std::int64_t id = nextID_++;
    Watch watch;
    watch.fd = fd;
    watch.events = events;
    watch.fn = std::move(fn);
    if (events & Readable) {
        watch.read.reset(new QSocketNotifier(fd, QSocketNotifier::Read));
        QObject::connect(watch.read.get(), &QSocketNotifier::activated, [this, id] { FireWatch(id, Readable); });
    }
    if (events & Writable) {
        watch.write.reset(new QSocketNotifier(fd, QSocketNotifier::Write));
        QObject::connect(watch.write.get(), &QSocketNotifier::activated, [this, id] { FireWatch(id, Writable); });
    }
    watches_[id] = std::move(watch);
    return id;
}

void QtRunLoop::RemoveWatch(std::int64_t watch)
{
    watches_.erase(watch);
    EndWaitsIfIdle();
}

void QtRunLoop::FireWatch(std::int64_t id, std::uint32_t ready)
{
    const auto it = watches_.find(id);
    if (it == watches_.end())
        return;
    WatchFn fn = it->second.fn; // the callback may replace or remove its own watch
    const int fd = it->second.fd;
    fn(id, fd, ready);
    EndWaitsIfIdle();
}

double QtRunLoop::Now() const
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void QtRunLoop::EndWaitsIfIdle()
{
    if (HasPending())
        return;
    for (QEventLoop* wait : waits_)
        wait->quit();
}

void QtRunLoop::RunFor(double seconds)
{
    if (!HasPending())
        return;
    QEventLoop wait;
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.setTimerType(Qt::PreciseTimer);
    const double ms = std::ceil(std::max(0.0, seconds) * 1000.0);
    deadline.setInterval(int(std::min(ms, double(std::numeric_limits<int>::max()))));
    QObject::connect(&deadline, &QTimer::timeout, &wait, &QEventLoop::quit);
    deadline.start();
    waits_.push_back(&wait);
    wait.exec();
    waits_.erase(std::remove(waits_.begin(), waits_.end(), &wait), waits_.end());
}

} // namespace kfhost::qt
