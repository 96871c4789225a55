// The sdk pieces under the text foundation: memory handles and the host's Unicode string (its
// UTF-8 both ways is checked against the tests' own UTF-8 table in tests/abi/utf8_test.cpp).
#include "BM.hpp"
#include "BMTesting.hpp"
#include "HostUniString.hpp"

#include <gtest/gtest.h>

#include <cstring>

TEST(BMHandles, ReallocationKeepsBytesAndReportsExactSize)
{
    HostHandle h = BMAllocateHandle(4, BMFlagClear, 0);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(BMGetHandleSize(h), 4);
    EXPECT_EQ(std::memcmp(*h, "\0\0\0\0", 4), 0);
    std::memcpy(*h, "abcd", 4);
    for (HostSize size = 5; size < 5000; size += 7) {
        h = BMReallocHandle(h, size, BMFlagClear, 0);
        ASSERT_NE(h, nullptr);
        ASSERT_EQ(BMGetHandleSize(h), size);
        ASSERT_EQ(std::memcmp(*h, "abcd", 4), 0);
        ASSERT_EQ((*h)[size - 1], 0) << "grown bytes are cleared";
    }
    h = BMReallocHandle(h, 2, 0, 0);
    EXPECT_EQ(BMGetHandleSize(h), 2);
    EXPECT_EQ(std::memcmp(*h, "ab", 2), 0);
    BMKillHandle(&h);
    EXPECT_EQ(h, nullptr);
    BMKillHandle(&h); // a second kill of the cleared handle does nothing
}

TEST(BMHandles, LockStateIsSavedAndRestored)
{
    HostHandle h = BMAllocateHandle(0, 0, 0);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(BMhGetState(h), 0u);
    BMhLock(h);
    const HostFlags locked = BMhGetState(h);
    EXPECT_NE(locked & BMLockedState, 0u);
    BMhUnlock(h);
    EXPECT_EQ(BMhGetState(h) & BMLockedState, 0u);
    BMhSetState(h, locked);
    EXPECT_EQ(BMhGetState(h), locked);
    BMKillHandle(&h);
}

TEST(BMHandles, FailureHookFailsTheChosenCallsOnly)
{
    const long live = BMTesting::LiveHandleCount();
    BMTesting::FailNthAllocation(2);
    HostHandle a = BMAllocateHandle(8, 0, 0);
    HostHandle b = BMAllocateHandle(8, 0, 0);
    HostHandle c = BMAllocateHandle(8, 0, 0);
    EXPECT_NE(a, nullptr);
    EXPECT_EQ(b, nullptr);
    EXPECT_NE(c, nullptr);

    BMTesting::FailAllocationsFromSize(100);
    EXPECT_EQ(BMReallocHandle(a, 100, 0, 0), nullptr);
    EXPECT_EQ(BMGetHandleSize(a), 8) << "a failed reallocation leaves the old block as it was";
    EXPECT_EQ(BMReallocHandle(a, 99, 0, 0), a);
    BMTesting::ResetFailures();
    EXPECT_NE(BMReallocHandle(a, 100, 0, 0), nullptr);

    EXPECT_EQ(BMAllocateHandle(-1, 0, 0), nullptr);
    BMKillHandle(&a);
    BMKillHandle(&c);
    EXPECT_EQ(BMTesting::LiveHandleCount(), live);
}

TEST(UniString, ConstructionAppendAndMoveKeepTheTerminator)
{
    EXPECT_TRUE(Base::UniString(static_cast<const Base::uchar_t*>(nullptr)).IsEmpty());
    Base::uchar_t const units[] = {'a', 0, 'b', 0};
    Base::UniString const terminated(units);
    Base::UniString const counted(units, 3);
    EXPECT_EQ(terminated.GetLength(), 1u);
    ASSERT_EQ(counted.GetLength(), 3u);
    EXPECT_EQ(counted[2], 'b');
    EXPECT_EQ(counted.ToUStr()[3], 0);
    EXPECT_NE(terminated, counted);

    Base::UniString s = Base::UniString::FromUTF8("ab");
    s.Append(s);
    Base::UniString moved(std::move(s));
    EXPECT_EQ(moved.ToUTF8(), "abab");
    EXPECT_EQ(s.ToUStr()[0], 0); // NOLINT(bugprone-use-after-move): the moved-from state is specified
    EXPECT_LT(Base::UniString::FromUTF8("a"), Base::UniString::FromUTF8("b"));
}
