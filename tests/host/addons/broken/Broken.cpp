// Bundles the host must refuse: one that exports nothing (BROKEN_NO_ENTRIES), and one of the
// first table's format, five loose entry symbols and no entry record.
#include <stdint.h>

#define KF_EXPORT extern "C" __attribute__((visibility("default")))

#ifndef BROKEN_NO_ENTRIES
KF_EXPORT int32_t KFAddOn_SetHostTable(const void*)
{
    return 0;
}
KF_EXPORT int32_t KFAddOn_CheckEnvironment(void*)
{
    return 1;
}
KF_EXPORT int32_t KFAddOn_RegisterInterface(void)
{
    return 0;
}
KF_EXPORT int32_t KFAddOn_Initialize(void*)
{
    return 0;
}
KF_EXPORT int32_t KFAddOn_FreeData(void)
{
    return 0;
}
#endif
