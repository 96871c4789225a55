/* What both languages measure of the table header, in one list. */
#ifndef KF_TABLE_LAYOUT_H
#define KF_TABLE_LAYOUT_H

#include <stddef.h>

#define KF_LAYOUT_ENTRY(kind, minor, answer, name, parameters) offsetof(KF_HostTable, name),
#define KF_LAYOUT_VALUES                                                                                               \
    sizeof(KF_HostTable), offsetof(KF_HostTable, version), offsetof(KF_HostTable, context),                            \
        KF_HOST_TABLE_ENTRIES(KF_LAYOUT_ENTRY) KF_HOST_TABLE_SIZE_2_0, sizeof(KF_AddOnEntry),                          \
        offsetof(KF_AddOnEntry, required), offsetof(KF_AddOnEntry, setHostTable), sizeof(KF_EnvirRecord),              \
        offsetof(KF_EnvirRecord, description), sizeof(KF_LogService), sizeof(KF_UpdateService),                        \
        sizeof(KF_FileDialogRequest), sizeof(KF_LibPartRecord)

/* The offsets of entries of released minors, which never move (LP64). */
#define KF_LAYOUT_PINNED(CHECK)                                                                                        \
    CHECK(offsetof(KF_HostTable, version) == 4, "version")                                                             \
    CHECK(offsetof(KF_HostTable, context) == 8, "context")                                                             \
    CHECK(offsetof(KF_HostTable, GetTextEncoding) == 16, "first entry")                                                \
    CHECK(offsetof(KF_HostTable, GetService) == 656, "last entry of 2.0")                                              \
    CHECK(offsetof(KF_HostTable, MoveOver) == 664, "first entry of 2.1")                                               \
    CHECK(offsetof(KF_HostTable, ReportException) == 672, "last entry of 2.1")                                         \
    CHECK(offsetof(KF_HostTable, SetItemChecked) == 680, "first entry of 2.2")                                         \
    CHECK(offsetof(KF_HostTable, GetItemIcon) == 704, "last entry of 2.2")                                             \
    CHECK(KF_HOST_TABLE_SIZE_2_0 == 664, "the size of a 2.0 table")                                                    \
    CHECK(sizeof(KF_AddOnEntry) == 64, "the entry record's size")                                                      \
    CHECK(offsetof(KF_AddOnEntry, version) == 4, "version")                                                            \
    CHECK(offsetof(KF_AddOnEntry, required) == 8, "required")                                                          \
    CHECK(offsetof(KF_AddOnEntry, setHostTable) == 24, "setHostTable")                                                 \
    CHECK(offsetof(KF_AddOnEntry, freeData) == 56, "freeData")                                                         \
    CHECK(sizeof(KF_EnvirRecord) == 20 + 2 * 256 + 4 + 2 * 512 + 4, "the environment record")

#ifdef __cplusplus
extern "C" {
#endif
/* Writes up to count of the values above into out; answers how many there are. */
size_t kf_c_layout(size_t* out, size_t count);
#ifdef __cplusplus
}
#endif

#endif
