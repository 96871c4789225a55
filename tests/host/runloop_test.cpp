// The headless run loop: timers in due order, removal, watches, and returning when idle.
#include "kfhost/RunLoop.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <vector>

namespace {

TEST(RunLoop, FiresTimersInDueOrderOnce)
{
    kfhost::PollRunLoop loop;
    std::vector<int> fired;
    loop.AddTimer(0.03, [&](std::int64_t) { fired.push_back(3); });
    loop.AddTimer(0.01, [&](std::int64_t) { fired.push_back(1); });
    const auto removed = loop.AddTimer(0.02, [&](std::int64_t) { fired.push_back(2); });
    loop.RemoveTimer(removed);
    const double start = loop.Now();
    loop.RunFor(5);
    EXPECT_EQ(fired, (std::vector<int>{1, 3}));
    EXPECT_LT(loop.Now() - start, 1.0) << "an idle loop must return before its time is up";
    EXPECT_FALSE(loop.HasPending());
}

TEST(RunLoop, TimerAddedByATimerRunsInTheSameRun)
{
    kfhost::PollRunLoop loop;
    int second = 0;
    loop.AddTimer(0, [&](std::int64_t) { loop.AddTimer(0.01, [&](std::int64_t) { ++second; }); });
    loop.RunFor(1);
    EXPECT_EQ(second, 1);
}

TEST(RunLoop, StopsAtItsDeadlineWithWorkLeft)
{
    kfhost::PollRunLoop loop;
    bool fired = false;
    loop.AddTimer(10, [&](std::int64_t) { fired = true; });
    const double start = loop.Now();
    loop.RunFor(0.05);
    EXPECT_FALSE(fired);
    EXPECT_GE(loop.Now() - start, 0.05);
    EXPECT_TRUE(loop.HasPending());
}

TEST(RunLoop, WatchesReportReadableDataAndCanBeReplaced)
{
    kfhost::PollRunLoop loop;
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::string got;
    int firstCalls = 0;
    loop.AddWatch(fds[0], kfhost::RunLoop::Readable, [&](std::int64_t, int, std::uint32_t) { ++firstCalls; });
    // Re-adding the fd replaces the first watch.
    loop.AddWatch(fds[0], kfhost::RunLoop::Readable, [&](std::int64_t watch, int fd, std::uint32_t events) {
        EXPECT_EQ(events, kfhost::RunLoop::Readable);
        char buf[16];
        const ssize_t n = ::read(fd, buf, sizeof buf);
        got.append(buf, std::size_t(n > 0 ? n : 0));
        loop.RemoveWatch(watch);
    });
    loop.AddTimer(0.01, [&](std::int64_t) { ASSERT_EQ(::write(fds[1], "ping", 4), 4); });
    loop.RunFor(2);
    EXPECT_EQ(got, "ping");
    EXPECT_EQ(firstCalls, 0);
    EXPECT_FALSE(loop.HasPending());
    ::close(fds[0]);
    ::close(fds[1]);
}

} // namespace
