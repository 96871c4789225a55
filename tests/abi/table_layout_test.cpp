// The table header compiled as C++20 pins the same layout as compiled as C11 (table_layout.c), both
// sides measure the same numbers, the list keeps its minors in order, and docs/abi.md gives every
// entry of the list its contract.
#include "kfsdk/HostTable.h"

#include "table_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string>

#define KF_PIN(condition, what) static_assert(condition, what);
KF_LAYOUT_PINNED(KF_PIN)

namespace {

struct Listed {
    const char* name;
    unsigned minor;
};
#define KF_LISTED(kind, minor, answer, name, parameters) Listed{#name, minor},
constexpr Listed kListed[] = {KF_HOST_TABLE_ENTRIES(KF_LISTED)};

// Entries are only appended: minors never go down the list, and the last is this header's.
static_assert(std::is_sorted(std::begin(kListed), std::end(kListed),
                             [](const Listed& a, const Listed& b) { return a.minor < b.minor; }));
static_assert(std::end(kListed)[-1].minor == KF_HOST_TABLE_MINOR);
static_assert(sizeof(KF_HostTable) == offsetof(KF_HostTable, GetTextEncoding) + sizeof(void*) * std::size(kListed));

TEST(TableLayout, CAndCxxMeasureTheSame)
{
    const std::size_t cxx[] = {KF_LAYOUT_VALUES};
    std::array<std::size_t, std::size(cxx)> c{};
    ASSERT_EQ(kf_c_layout(c.data(), c.size()), std::size(cxx));
    for (std::size_t i = 0; i < std::size(cxx); ++i)
        EXPECT_EQ(c[i], cxx[i]) << "value " << i << " of KF_LAYOUT_VALUES";
}

TEST(TableLayout, EveryEntryHasItsContractInTheDocs)
{
    std::ifstream in(KF_DOCS_ABI);
    const std::string docs{std::istreambuf_iterator<char>(in), {}};
    ASSERT_FALSE(docs.empty()) << KF_DOCS_ABI;
    for (const Listed& entry : kListed)
        EXPECT_NE(docs.find("| `" + std::string(entry.name) + "` |"), std::string::npos)
            << entry.name << " has no row in the contract table of docs/abi.md";
}

} // namespace
