// Bundles the host must refuse: one without the entry points (BROKEN_NO_ENTRIES), one that answers
// the host table as an add-on built for another table version would.
#include "kfsdk/HostTable.h"

#define KF_EXPORT extern "C" __attribute__((visibility("default")))

KF_EXPORT KF_Err KFAddOn_SetHostTable(const KF_HostTable*) { return KF_APIERR_BADTABLEVERSION; }

#ifndef BROKEN_NO_ENTRIES
KF_EXPORT int32_t KFAddOn_CheckEnvironment(KF_EnvirRecord*) { return 1; }
KF_EXPORT KF_Err KFAddOn_RegisterInterface(void) { return KF_NOERROR; }
KF_EXPORT KF_Err KFAddOn_Initialize(void*) { return KF_NOERROR; }
KF_EXPORT KF_Err KFAddOn_FreeData(void) { return KF_NOERROR; }
#endif
