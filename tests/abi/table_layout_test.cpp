// The table header compiled as C++20 pins the same layout as compiled as C11 (table_layout.c), and
// both sides measure the same numbers.
#include "kfsdk/HostTable.h"

#include "table_layout.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>

static_assert(sizeof(KF_HostTable) == 680);
static_assert(offsetof(KF_HostTable, version) == 4);
static_assert(offsetof(KF_HostTable, context) == 8);
static_assert(offsetof(KF_HostTable, GetTextEncoding) == 16);
static_assert(offsetof(KF_HostTable, GetService) == 656);
static_assert(offsetof(KF_HostTable, MoveOver) == 664);
static_assert(offsetof(KF_HostTable, ReportException) == 672);
static_assert(KF_HOST_TABLE_SIZE_2_0 == 664);
static_assert(sizeof(KF_AddOnEntry) == 64);
static_assert(offsetof(KF_AddOnEntry, version) == 4);
static_assert(offsetof(KF_AddOnEntry, required) == 8);
static_assert(offsetof(KF_AddOnEntry, setHostTable) == 24);
static_assert(offsetof(KF_AddOnEntry, freeData) == 56);
static_assert(sizeof(KF_EnvirRecord) == 20 + 2 * 256 + 4 + 2 * 512 + 4);

TEST(TableLayout, CAndCxxMeasureTheSame)
{
    const std::size_t cxx[] = {KF_LAYOUT_VALUES};
    std::array<std::size_t, std::size(cxx)> c{};
    ASSERT_EQ(kf_c_layout(c.data(), c.size()), std::size(cxx));
    for (std::size_t i = 0; i < std::size(cxx); ++i)
        EXPECT_EQ(c[i], cxx[i]) << "value " << i << " of KF_LAYOUT_VALUES";
}
