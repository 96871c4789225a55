// The host's run loop on Qt's event loop: timers, fd watches, and waits that end when nothing is
// left to wait for.
#include "kfhost/qt/QtRunLoop.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <vector>

namespace {

using kfhost::RunLoop;
using kfhost::qt::QtRunLoop;

class Pipe {
public:
    Pipe() { EXPECT_EQ(::pipe(fds_), 0); }
    ~Pipe()
    {
        ::close(fds_[0]);
        ::close(fds_[1]);
    }
    int Read() const { return fds_[0]; }
    int Write() const { return fds_[1]; }

private:
    int fds_[2] = {-1, -1};
};

TEST(QtRunLoop, TimersFireInDueOrderAndMayScheduleMore)
{
    QtRunLoop loop;
    std::vector<int> fired;
    loop.AddTimer(0.03, [&](std::int64_t) { fired.push_back(2); });
    loop.AddTimer(0.01, [&](std::int64_t) {
        fired.push_back(1);
        loop.AddTimer(0.04, [&](std::int64_t) { fired.push_back(3); });
    });
    const std::int64_t dropped = loop.AddTimer(0.02, [&](std::int64_t) { fired.push_back(99); });
    loop.RemoveTimer(dropped);
    EXPECT_EQ(loop.TimerCount(), 2u);
    loop.RunFor(10);
    EXPECT_EQ(fired, (std::vector<int>{1, 2, 3}));
    EXPECT_FALSE(loop.HasPending());
}

TEST(QtRunLoop, WaitEndsOnceNothingIsLeftAndAtItsDeadline)
{
    QtRunLoop loop;
    loop.RunFor(30); // nothing to wait for: returns at once (a hang here fails by the test's timeout)
    bool fired = false;
    loop.AddTimer(0.01, [&](std::int64_t) { fired = true; });
    loop.RunFor(30);
    EXPECT_TRUE(fired);

    fired = false;
    const std::int64_t late = loop.AddTimer(60, [&](std::int64_t) { fired = true; });
    const double before = loop.Now();
    loop.RunFor(0.05);
    EXPECT_FALSE(fired);
    EXPECT_GE(loop.Now() - before, 0.04);
    loop.RemoveTimer(late);
}

TEST(QtRunLoop, ReadableWatchFiresAndMayRemoveItself)
{
    QtRunLoop loop;
    Pipe pipe;
    int calls = 0;
    std::uint32_t seen = 0;
    int seenFd = -1;
    loop.AddWatch(pipe.Read(), RunLoop::Readable, [&](std::int64_t watch, int fd, std::uint32_t ready) {
        ++calls;
        seen = ready;
        seenFd = fd;
        char c = 0;
        EXPECT_EQ(::read(fd, &c, 1), 1);
        loop.RemoveWatch(watch);
    });
    ASSERT_EQ(::write(pipe.Write(), "x", 1), 1);
    loop.RunFor(30);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(seen, RunLoop::Readable);
    EXPECT_EQ(seenFd, pipe.Read());
    EXPECT_EQ(loop.WatchCount(), 0u);
}

TEST(QtRunLoop, NewWatchOfAnFdReplacesTheOldAndWritableFires)
{
    QtRunLoop loop;
    Pipe pipe;
    int oldCalls = 0;
    int newCalls = 0;
    loop.AddWatch(pipe.Write(), RunLoop::Writable, [&](std::int64_t, int, std::uint32_t) { ++oldCalls; });
    loop.AddWatch(pipe.Write(), RunLoop::Writable, [&](std::int64_t watch, int, std::uint32_t ready) {
        ++newCalls;
        EXPECT_EQ(ready, RunLoop::Writable);
        loop.RemoveWatch(watch);
    });
    EXPECT_EQ(loop.WatchCount(), 1u);
    loop.RunFor(30);
    EXPECT_EQ(oldCalls, 0);
    EXPECT_EQ(newCalls, 1);
}

} // namespace
