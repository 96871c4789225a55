// What every run loop of the host keeps to, headless or on a window system's event loop: timers in
// due order (also those a timer adds), removal, fd watches that replace each other, and a wait
// that ends once nothing is left, or at its deadline with work left. A test program includes this
// once and instantiates it for its loops.
#pragma once

#include "kfhost/RunLoop.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <vector>

namespace kftest {

template <class Loop>
class RunLoopContract : public ::testing::Test {
protected:
    RunLoopContract() { EXPECT_EQ(::pipe(fds), 0); }
    ~RunLoopContract() override
    {
        ::close(fds[0]);
        ::close(fds[1]);
    }
    Loop loop;
    int fds[2] = {-1, -1};
};

TYPED_TEST_SUITE_P(RunLoopContract);

TYPED_TEST_P(RunLoopContract, TimersFireInDueOrderOnceAndMayScheduleMore)
{
    auto& loop = this->loop;
    const double start = loop.Now();
    loop.RunFor(30); // nothing to wait for
    std::vector<int> fired;
    loop.AddTimer(0.03, [&](std::int64_t) { fired.push_back(2); });
    loop.AddTimer(0.01, [&](std::int64_t) {
        fired.push_back(1);
        loop.AddTimer(0.04, [&](std::int64_t) { fired.push_back(3); });
    });
    loop.RemoveTimer(loop.AddTimer(0.02, [&](std::int64_t) { fired.push_back(99); }));
    loop.RunFor(30);
    EXPECT_EQ(fired, (std::vector<int>{1, 2, 3}));
    EXPECT_FALSE(loop.HasPending());
    // Only a loop that waits out its whole time takes this long.
    EXPECT_LT(loop.Now() - start, 30) << "an idle loop returns before its time is up";
}

TYPED_TEST_P(RunLoopContract, StopsAtItsDeadlineWithWorkLeft)
{
    auto& loop = this->loop;
    bool fired = false;
    const std::int64_t late = loop.AddTimer(60, [&](std::int64_t) { fired = true; });
    const double start = loop.Now();
    loop.RunFor(0.05);
    EXPECT_FALSE(fired);
    EXPECT_GE(loop.Now() - start, 0.04);
    EXPECT_TRUE(loop.HasPending());
    loop.RemoveTimer(late);
    EXPECT_FALSE(loop.HasPending());
}

TYPED_TEST_P(RunLoopContract, ANewWatchOfAnFdReplacesTheOldAndMayRemoveItself)
{
    auto& loop = this->loop;
    for (const std::uint32_t events : {kfhost::RunLoop::Readable, kfhost::RunLoop::Writable}) {
        SCOPED_TRACE(events);
        const int fd = this->fds[events == kfhost::RunLoop::Readable ? 0 : 1];
        int oldCalls = 0, newCalls = 0;
        loop.AddWatch(fd, events, [&](std::int64_t, int, std::uint32_t) { ++oldCalls; });
        loop.AddWatch(fd, events, [&](std::int64_t watch, int seen, std::uint32_t ready) {
            ++newCalls;
            EXPECT_EQ(seen, fd);
            EXPECT_EQ(ready, events);
            if (ready == kfhost::RunLoop::Readable) {
                char c = 0;
                EXPECT_EQ(::read(seen, &c, 1), 1);
            }
            loop.RemoveWatch(watch);
        });
        // Data arrives while the loop runs.
        loop.AddTimer(0.01, [&](std::int64_t) { EXPECT_EQ(::write(this->fds[1], "x", 1), 1); });
        loop.RunFor(30);
        EXPECT_EQ(oldCalls, 0);
        EXPECT_EQ(newCalls, 1);
        EXPECT_FALSE(loop.HasPending());
    }
}

REGISTER_TYPED_TEST_SUITE_P(RunLoopContract, TimersFireInDueOrderOnceAndMayScheduleMore, StopsAtItsDeadlineWithWorkLeft,
                            ANewWatchOfAnFdReplacesTheOldAndMayRemoveItself);

} // namespace kftest
