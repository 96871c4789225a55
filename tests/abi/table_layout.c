/* The table header compiled as C11: the layout pinned here must be the one the C++ side pins too
 * (table_layout_test.cpp compares both with what this file reports). The numbers are those of the
 * LP64 platforms the host runs on. */
#include "kfsdk/HostTable.h"

#include "table_layout.h"

_Static_assert(sizeof(KF_HostTable) == 680, "the table's size");
_Static_assert(offsetof(KF_HostTable, version) == 4, "version");
_Static_assert(offsetof(KF_HostTable, context) == 8, "context");
_Static_assert(offsetof(KF_HostTable, GetTextEncoding) == 16, "first entry");
_Static_assert(offsetof(KF_HostTable, GetService) == 656, "last entry of 2.0");
_Static_assert(offsetof(KF_HostTable, MoveOver) == 664, "first entry of 2.1");
_Static_assert(offsetof(KF_HostTable, ReportException) == 672, "last entry of 2.1");
_Static_assert(sizeof(KF_AddOnEntry) == 64, "the entry record's size");
_Static_assert(offsetof(KF_AddOnEntry, version) == 4, "version");
_Static_assert(offsetof(KF_AddOnEntry, required) == 8, "required");
_Static_assert(offsetof(KF_AddOnEntry, setHostTable) == 24, "setHostTable");
_Static_assert(offsetof(KF_AddOnEntry, freeData) == 56, "freeData");
_Static_assert(sizeof(KF_EnvirRecord) == 20 + 2 * 256 + 4 + 2 * 512 + 4, "the environment record");

size_t kf_c_layout(size_t* out, size_t count)
{
    const size_t values[] = {KF_LAYOUT_VALUES};
    size_t i = 0;
    for (; i < count && i < sizeof values / sizeof values[0]; ++i)
        out[i] = values[i];
    return sizeof values / sizeof values[0];
}
