/* The table header compiled as C11: the layout pinned here must be the one the C++ side pins too
 * (table_layout_test.cpp compares both with what this file reports). */
#include "kfsdk/HostTable.h"

#include "table_layout.h"

#define KF_PIN(condition, what) _Static_assert(condition, what);
KF_LAYOUT_PINNED(KF_PIN)

size_t kf_c_layout(size_t* out, size_t count)
{
    const size_t values[] = {KF_LAYOUT_VALUES};
    size_t i = 0;
    for (; i < count && i < sizeof values / sizeof values[0]; ++i)
        out[i] = values[i];
    return sizeof values / sizeof values[0];
}
