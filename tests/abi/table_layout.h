/* What both languages measure of the table header, in one list. */
#ifndef KF_TABLE_LAYOUT_H
#define KF_TABLE_LAYOUT_H

#include <stddef.h>

#define KF_LAYOUT_VALUES                                                                                               \
    sizeof(KF_HostTable), offsetof(KF_HostTable, version), offsetof(KF_HostTable, context),                            \
        offsetof(KF_HostTable, GetTextEncoding), offsetof(KF_HostTable, ModalDialog),                                  \
        offsetof(KF_HostTable, GetSpecialLocation), offsetof(KF_HostTable, AddTimer),                                  \
        offsetof(KF_HostTable, GetService), offsetof(KF_HostTable, MoveOver), offsetof(KF_HostTable, ReportException), \
        KF_HOST_TABLE_SIZE_2_0, sizeof(KF_AddOnEntry), offsetof(KF_AddOnEntry, required),                              \
        offsetof(KF_AddOnEntry, setHostTable), sizeof(KF_EnvirRecord), offsetof(KF_EnvirRecord, description),          \
        sizeof(KF_LogService), sizeof(KF_UpdateService), sizeof(KF_FileDialogRequest), sizeof(KF_LibPartRecord)

#ifdef __cplusplus
extern "C" {
#endif
/* Writes up to count of the values above into out; answers how many there are. */
size_t kf_c_layout(size_t* out, size_t count);
#ifdef __cplusplus
}
#endif

#endif
