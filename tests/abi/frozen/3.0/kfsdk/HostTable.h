/* Frozen stand-in of a host table header of another major version, 3.0: only what every major
 * keeps in place (the entry record's size and version) is the same. Add-ons built against it prove
 * that another major is refused. Never edit. */
#ifndef KFSDK_HOSTTABLE_H
#define KFSDK_HOSTTABLE_H

#include <stddef.h>
#include <stdint.h>

#define KF_HOST_TABLE_MAJOR 3u
#define KF_HOST_TABLE_MINOR 0u

typedef int32_t KF_Err;
typedef struct KF_Version {
    uint16_t major;
    uint16_t minor;
} KF_Version;

typedef struct KF_HostTable {
    uint32_t size;
    KF_Version version;
    void* session; /* one per host, no longer one per add-on */
    const void* (*GetService)(void* session, const char* name);
} KF_HostTable;

#define KF_ADDON_ENTRY_SYMBOL "KFAddOn_Entry"
typedef struct KF_AddOnEntry {
    uint32_t size;
    KF_Version version;
    KF_Err (*start)(const KF_HostTable* table, void** addOnState);
    KF_Err (*stop)(void* addOnState);
} KF_AddOnEntry;

#endif /* KFSDK_HOSTTABLE_H */
