#include "kfhost/RunLoop.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <vector>

namespace kfhost {

std::int64_t PollRunLoop::AddTimer(double seconds, TimerFn fn)
{
    const std::int64_t id = nextID_++;
    timers_[id] = Timer{Now() + std::max(0.0, seconds), std::move(fn)};
    return id;
}

void PollRunLoop::RemoveTimer(std::int64_t timer)
{
    timers_.erase(timer);
}

std::int64_t PollRunLoop::AddWatch(int fd, std::uint32_t events, WatchFn fn)
{
    std::erase_if(watches_, [fd](const auto& entry) { return entry.second.fd == fd; });
    const std::int64_t id = nextID_++;
    watches_[id] = Watch{fd, events, std::move(fn)};
    return id;
}

void PollRunLoop::RemoveWatch(std::int64_t watch)
{
    watches_.erase(watch);
}

double PollRunLoop::Now() const
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

bool PollRunLoop::FireDueTimers()
{
    bool fired = false;
    for (;;) {
        const double now = Now();
        auto due = timers_.end();
        for (auto it = timers_.begin(); it != timers_.end(); ++it)
            if (it->second.due <= now && (due == timers_.end() || it->second.due < due->second.due))
                due = it;
        if (due == timers_.end())
            return fired;
        // One-shot: gone before its callback runs, so the callback may add timers freely.
        const std::int64_t id = due->first;
        TimerFn fn = std::move(due->second.fn);
        timers_.erase(due);
        fn(id);
        fired = true;
    }
}

void PollRunLoop::RunFor(double seconds)
{
    const double deadline = Now() + std::max(0.0, seconds);
    for (;;) {
        FireDueTimers();
        const double now = Now();
        if (now >= deadline || !HasPending())
            return;
        double wake = deadline;
        for (const auto& [id, timer] : timers_)
            wake = std::min(wake, timer.due);
        const int timeoutMs = int(std::ceil(std::max(0.0, wake - now) * 1000.0));

        std::vector<pollfd> fds;
        std::vector<std::int64_t> ids;
        for (const auto& [id, watch] : watches_) {
            short events = 0;
            if (watch.events & Readable)
                events |= POLLIN;
            if (watch.events & Writable)
                events |= POLLOUT;
            fds.push_back(pollfd{watch.fd, events, 0});
            ids.push_back(id);
        }
        const int ready = ::poll(fds.data(), fds.size(), timeoutMs);
        if (ready < 0 && errno != EINTR)
            return;
        for (std::size_t i = 0; ready > 0 && i < fds.size(); ++i) {
            if (fds[i].revents == 0)
                continue;
            const auto it = watches_.find(ids[i]); // an earlier callback may have removed it
            if (it == watches_.end())
                continue;
            std::uint32_t readyEvents = 0;
            if (fds[i].revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL))
                readyEvents |= it->second.events & Readable;
            if (fds[i].revents & (POLLOUT | POLLERR | POLLNVAL))
                readyEvents |= it->second.events & Writable;
            if (readyEvents == 0)
                readyEvents = it->second.events; // an error on a watch of neither kind
            WatchFn fn = it->second.fn;          // the callback may replace or remove its own watch
            fn(ids[i], fds[i].fd, readyEvents);
        }
    }
}

} // namespace kfhost
