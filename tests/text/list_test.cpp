#include "KF/KF_List.hpp"
#include "BMTesting.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Counts live objects so that every construction is matched by one destruction.
struct Tracked {
    static inline int live = 0;
    long value = 0;
    long* heap = nullptr; // an owned pointer, as the framework's element types have
    Tracked() : heap(new long(0)) { ++live; }
    explicit Tracked(long v) : value(v), heap(new long(v)) { ++live; }
    Tracked(const Tracked& o) : value(o.value), heap(new long(*o.heap)) { ++live; }
    ~Tracked()
    {
        delete heap;
        --live;
    }
    Tracked& operator=(const Tracked&) = delete;
};

template <typename T>
std::vector<long> Values(const KF_List<T>& list)
{
    std::vector<long> out;
    for (long i = 0; i < list.count; ++i) {
        if constexpr (std::is_same_v<T, Tracked>) {
            EXPECT_EQ(*list[i].heap, list[i].value) << "element " << i << " was not relocated intact";
            out.push_back(list[i].value);
        } else {
            out.push_back(long(list[i]));
        }
    }
    return out;
}

KF_List<Tracked> Abc()
{
    KF_List<Tracked> list;
    for (long v : {1, 2, 3}) {
        list.AddData(Tracked(v), -1);
    }
    return list;
}

class ListTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        liveHandles_ = BMTesting::LiveHandleCount();
        Tracked::live = 0;
    }
    void TearDown() override
    {
        BMTesting::ResetFailures();
        EXPECT_EQ(Tracked::live, 0);
        EXPECT_EQ(BMTesting::LiveHandleCount(), liveHandles_);
    }
    long liveHandles_ = 0;
};

} // namespace

TEST_F(ListTest, StoreIsSizedToExactlyCountElements)
{
    KF_List<Tracked> list;
    ASSERT_NE(list.store, nullptr);
    EXPECT_EQ(BMGetHandleSize(list.store), 0);
    for (long i = 0; i < 40; ++i) {
        list.AddData(Tracked(i), -1);
        ASSERT_EQ(BMGetHandleSize(list.store), HostSize(list.count) * HostSize(sizeof(Tracked)));
    }
    for (long i = 0; i < 40; ++i) {
        list.DeleteData(0);
        ASSERT_EQ(BMGetHandleSize(list.store), HostSize(list.count) * HostSize(sizeof(Tracked)));
    }
}

TEST_F(ListTest, AddDataInsertsBeforeThePosition)
{
    KF_List<Tracked> list;
    list.AddData(Tracked(1), -1);
    EXPECT_EQ(Values(list), (std::vector<long>{1}));
    list.AddData(Tracked(2), -1);
    list.AddData(Tracked(0), 0);
    list.AddData(Tracked(9), 2);
    EXPECT_EQ(Values(list), (std::vector<long>{0, 1, 9, 2}));
    list.AddData(Tracked(7), 99); // beyond the end: appended rather than trusted
    EXPECT_EQ(Values(list), (std::vector<long>{0, 1, 9, 2, 7}));
}

TEST_F(ListTest, OutOfRangeIndicesAreIgnored)
{
    KF_List<Tracked> list = Abc();
    EXPECT_EQ(list.Get(-1), nullptr);
    EXPECT_EQ(list.Get(list.count), nullptr);
    ASSERT_NE(list.Get(list.count - 1), nullptr);
    EXPECT_EQ(list.Get(list.count - 1)->value, 3);
    EXPECT_EQ(list.Get(0)->value, 1);
    list.DeleteData(list.count);
    list.DeleteData(-1);
    EXPECT_EQ(Values(list), (std::vector<long>{1, 2, 3}));
    list.DeleteData(1);
    EXPECT_EQ(Values(list), (std::vector<long>{1, 3}));
    KF_List<long> longs;
    longs.AddData(1, -1);
    longs.AddData(0, -1);
    longs.DeleteData(longs[1]); // the index refers into the list itself
    EXPECT_EQ(Values(longs), (std::vector<long>{0}));
}

TEST_F(ListTest, MoveDataShiftsTheElementsBetween)
{
    KF_List<Tracked> list = Abc();
    EXPECT_TRUE(list.MoveData(0, 2));
    EXPECT_EQ(Values(list), (std::vector<long>{2, 3, 1}));
    list = Abc();
    EXPECT_TRUE(list.MoveData(2, 0));
    EXPECT_EQ(Values(list), (std::vector<long>{3, 1, 2}));
    EXPECT_FALSE(list.MoveData(1, 1));
    EXPECT_FALSE(list.MoveData(-1, 0));
    EXPECT_FALSE(list.MoveData(0, 3));
    EXPECT_EQ(Values(list), (std::vector<long>{3, 1, 2}));
}

TEST_F(ListTest, SearchReportsTheFirstMatch)
{
    KF_List<long> list;
    long index = 5;
    auto isTwo = [](char* element, void* context) {
        ++*static_cast<int*>(context);
        return *reinterpret_cast<long*>(element) == 2;
    };
    int calls = 0;
    EXPECT_FALSE(list.Search(isTwo, index, &calls));
    EXPECT_EQ(index, -1);
    for (long v : {1, 2, 2, 3}) {
        list.AddData(v, -1);
    }
    EXPECT_TRUE(list.Search(isTwo, index, &calls));
    EXPECT_EQ(index, 1);
    EXPECT_EQ(calls, 2);
}

TEST_F(ListTest, SetSizeKeepsOrZeroesElements)
{
    KF_List<long> longs;
    longs.AddData(4, -1);
    longs.SetSize(3, false);
    EXPECT_EQ(Values(longs), (std::vector<long>{0, 0, 0}));
    longs[0] = 8;
    longs.SetSize(5, true);
    EXPECT_EQ(Values(longs), (std::vector<long>{8, 0, 0, 0, 0}));
    longs.SetSize(-3, true);
    EXPECT_EQ(longs.count, 0);

    KF_List<Tracked> list = Abc();
    list.SetSize(1, true);
    EXPECT_EQ(Values(list), (std::vector<long>{1}));
    EXPECT_EQ(Tracked::live, 1);
    list.SetSize(2, true);
    EXPECT_EQ(Values(list), (std::vector<long>{1, 0}));
}

TEST_F(ListTest, ResetEmptiesAndStaysUsable)
{
    KF_List<Tracked> list = Abc();
    list.Reset();
    EXPECT_EQ(list.count, 0);
    ASSERT_NE(list.store, nullptr);
    list.AddData(Tracked(5), -1);
    EXPECT_EQ(Values(list), (std::vector<long>{5}));
}

TEST_F(ListTest, CopiesAreDeep)
{
    KF_List<Tracked> list = Abc();
    KF_List<Tracked> copy(list);
    list.DeleteData(0);
    EXPECT_EQ(Values(copy), (std::vector<long>{1, 2, 3}));
    copy = list;
    EXPECT_EQ(Values(copy), (std::vector<long>{2, 3}));
    const KF_List<Tracked>& same = copy;
    copy = same;
    EXPECT_EQ(Values(copy), (std::vector<long>{2, 3}));
}

TEST_F(ListTest, FailedGrowthLeavesANullStoreThatIgnoresAdds)
{
    KF_List<Tracked> list = Abc();
    BMTesting::FailNthAllocation(1);
    list.AddData(Tracked(4), -1);
    EXPECT_EQ(list.store, nullptr);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(Tracked::live, 0) << "the unreachable elements are released, not leaked";
    list.AddData(Tracked(5), -1);
    EXPECT_EQ(list.count, 0);
    EXPECT_FALSE(list.MoveData(0, 1));
    long index = 0;
    EXPECT_FALSE(list.Search([](char*, void*) { return true; }, index, nullptr));
    EXPECT_EQ(index, -1);

    KF_List<Tracked> copy(list);
    EXPECT_EQ(copy.store, nullptr) << "a copy of a list without store has none either";
    EXPECT_EQ(copy.count, 0);
    list.Reset();
    EXPECT_EQ(list.store, nullptr);
    // SetSize gives a list without store a block again.
    list.SetSize(2, false);
    ASSERT_NE(list.store, nullptr);
    EXPECT_EQ(Values(list), (std::vector<long>{0, 0}));
}

TEST_F(ListTest, FailedShrinkAndResizeAlsoDropTheStore)
{
    KF_List<Tracked> list = Abc();
    BMTesting::FailNthAllocation(1);
    list.DeleteData(0);
    EXPECT_EQ(list.store, nullptr);
    EXPECT_EQ(list.count, 0);

    KF_List<Tracked> other = Abc();
    BMTesting::FailAllocationsFromSize(HostSize(10 * sizeof(Tracked)));
    other.SetSize(10, true);
    EXPECT_EQ(other.store, nullptr);
    EXPECT_EQ(other.count, 0);
    BMTesting::ResetFailures();

    BMTesting::FailNthAllocation(1);
    KF_List<long> none;
    EXPECT_EQ(none.store, nullptr) << "even the first, empty block can fail";
    none.AddData(1, -1);
    EXPECT_EQ(none.count, 0);
}
