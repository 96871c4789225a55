/* The one meeting point of host and add-on: a versioned table of host functions, handed to the
 * add-on before any of its entry points runs, and one record the add-on exports that carries its
 * own version and its entry points. Plain C (C11 or C++20) so that host and add-on may be built by
 * different compilers: UTF-16 buffers with lengths, integers and opaque handles only.
 *
 * Versions (docs/abi.md has the whole policy):
 * - major: the layout of this table and of KF_AddOnEntry. Host and add-on of different majors never
 *   run together; the host refuses the bundle and names both versions.
 * - minor: entries appended at the end of the table. `size` tells how many a host provides; an
 *   add-on of a newer minor runs in an older host unless it lists, in its entry record, an entry
 *   that host lacks (the host then refuses it naming both versions and the missing entries). An
 *   entry beyond the host's size is read as absent (null), never called.
 * - optional features are not in the table: GetService answers them by versioned name.
 *
 * Rules every entry follows (docs/abi.md gives each entry's own contract):
 * - the first argument is the context the table carries (one per loaded add-on);
 * - texts go in as (units, length) without terminator and are read during the call only; they come
 *   back through a KF_StringOut, whose sink the host calls once per answer (once per element for
 *   lists); the units handed to a sink live only during that call;
 * - host -> add-on callbacks are a C function plus an opaque cookie the add-on chose;
 * - a CODE entry answers a host error code (0 is success); a VALUE entry answers a value, zero (or
 *   nothing) when it fails;
 * - every call, in either direction, is made on the host's main thread. A call from another thread
 *   is refused: a CODE entry answers KF_APIERR_WRONGTHREAD, a VALUE entry zero, and the host warns
 *   naming the add-on and the entry;
 * - no C++ exception leaves a function of either side: each turns one into the error answer of its
 *   kind. */
#ifndef KFSDK_HOSTTABLE_H
#define KFSDK_HOSTTABLE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KF_HOST_TABLE_MAJOR 2u
#define KF_HOST_TABLE_MINOR 2u

/* Host error codes: X(family, name, value, sdk name, meaning). C spells one KF_<family>ERR_<name>
 * (KF_APIERR_GENERAL); the sdk's C++ headers spell it by its sdk name (APIERR_GENERAL, and Error in
 * their file namespace). */
/* clang-format off */
#define KF_HOST_ERRORS(X)                                                                                              \
    X(API, GENERAL, 0x81060001u, APIERR_GENERAL, "a general failure")                                                  \
    X(API, BADPARS, 0x81060002u, APIERR_BADPARS, "a parameter is invalid")                                             \
    X(API, BADID, 0x81060003u, APIERR_BADID, "an identifier (menu, resource, window) is not known")                    \
    X(API, MODULNOTINSTALLED, 0x81060004u, APIERR_MODULNOTINSTALLED, "no loaded add-on has that module identifier")    \
    X(API, MODULCMDNOTSUPPORTED, 0x81060005u, APIERR_MODULCMDNOTSUPPORTED, "the add-on does not serve that command")   \
    X(API, NOTSUPPORTED, 0x81060006u, APIERR_NOTSUPPORTED, "not supported by this host")                               \
    X(API, CANCEL, 0x81060007u, APIERR_CANCEL, "cancelled")                                                            \
    X(API, MEMFULL, 0x81060008u, APIERR_MEMFULL, "out of memory")                                                      \
    X(API, BADTABLEVERSION, 0x81060010u, APIERR_BADTABLEVERSION, "the host table's version is not the add-on's")       \
    X(API, WRONGTHREAD, 0x81060011u, APIERR_WRONGTHREAD, "called from a thread other than the host's main thread")     \
    X(API, MISSINGDEF, 0xFFFFE4A5u, APIERR_MISSINGDEF, "the library part is known by name, its definition is missing") \
    X(IO, ERROR, 0x81000100u, Error, "an input/output failure")                                                        \
    X(IO, FILENOTFOUND, 0x81010100u, FileNotFound, "the file does not exist")                                          \
    X(IO, ACCESSDENIED, 0x81010102u, AccessDenied, "access is denied")                                                 \
    X(IO, DISKFULL, 0x81010103u, DiskFull, "the disk is full")                                                         \
    X(IO, BADLOCATION, 0x81010104u, BadLocation, "the location is malformed")                                          \
    X(IO, NOTOPEN, 0x81010105u, NotOpen, "the file is not open")                                                       \
    X(IO, ENDOFFILE, 0x81010106u, EndOfFile, "the end of the file")                                                    \
    X(IO, NAMENOTFOUND, 0x81010107u, NameNotFound, "no entry of that name")                                            \
    X(IO, NOTAFOLDER, 0x81010108u, NotAFolder, "not a folder")
/* clang-format on */

#define KF_HOST_ERROR_CONSTANT(family, name, value, sdkName, meaning) KF_##family##ERR_##name = (int32_t)value,
enum { KF_NOERROR = 0, KF_HOST_ERRORS(KF_HOST_ERROR_CONSTANT) };
#undef KF_HOST_ERROR_CONSTANT

/* FileOpen modes; only regular files open */
#define KF_FILEMODE_READ 0
#define KF_FILEMODE_READWRITE 1
#define KF_FILEMODE_WRITEEMPTY 2     /* truncates */
#define KF_FILEMODE_READWRITEEMPTY 3 /* truncates */
#define KF_FILEMODE_APPEND 4
#define KF_FILEMODE_CREATENEW 5 /* a new file for writing; fails when any entry (even a symlink) is at the path */

/* Application text encodings, as the framework numbers them. */
#define KF_TEXTENC_UTF8 11
#define KF_TEXTENC_MACROMAN 101

typedef struct KF_HostContext KF_HostContext; /* opaque: the host's record of one add-on */
typedef uint16_t KF_UChar;                    /* one UTF-16 code unit */
typedef int32_t KF_Err;

typedef void (*KF_StringSink)(void* sinkData, const KF_UChar* units, int32_t length);
typedef struct KF_StringOut {
    KF_StringSink sink;
    void* sinkData;
} KF_StringOut;

/* Host -> add-on callbacks. */
typedef KF_Err (*KF_MenuProc)(void* cookie, int16_t menuResID, int32_t itemIndex);
/* params and resultData belong to the add-on that called CommandCall and live during the call only:
 * the serving add-on reads them and writes within what they hold, never keeps, resizes or frees
 * them (each add-on has its own allocator). */
typedef KF_Err (*KF_ModulCommandProc)(void* cookie, void* params, char* resultData, int32_t silent);
typedef int16_t (*KF_DialogProc)(void* cookie, int16_t message, int16_t dialID, int16_t item, int64_t userData,
                                 int64_t msgData);
typedef KF_Err (*KF_PaletteProc)(void* cookie, int32_t referenceID, int32_t messageID, int64_t param);
typedef int32_t (*KF_EnumProc)(void* userData, const KF_UChar* name, int32_t length,
                               int32_t isFolder); /* non-zero: go on */
typedef void (*KF_TimerProc)(void* cookie, int64_t timer, void* userData);
typedef void (*KF_WatchProc)(void* cookie, int64_t watch, int32_t fd, uint32_t events, void* userData);

typedef struct KF_ServerInfo {
    int32_t serverApplication;
    int32_t mainVersion;
    int32_t releaseVersion;
    int32_t buildNum;
    int32_t platform;
} KF_ServerInfo;

/* The environment record of the environment check: the host fills serverInfo, the add-on
 * answers its name and description. */
#define KF_ENVIR_NAME_MAX 256
#define KF_ENVIR_DESCRIPTION_MAX 512
typedef struct KF_EnvirRecord {
    KF_ServerInfo serverInfo;
    KF_UChar name[KF_ENVIR_NAME_MAX];
    int32_t nameLength;
    KF_UChar description[KF_ENVIR_DESCRIPTION_MAX];
    int32_t descriptionLength;
} KF_EnvirRecord;

typedef struct KF_ModulID {
    uint32_t developerID;
    uint32_t localID;
} KF_ModulID;

typedef struct KF_AlertTexts {
    const KF_UChar* text[6]; /* title, large text, small text, button 1..3 */
    int32_t length[6];
} KF_AlertTexts;

typedef struct KF_FileDialogRequest {
    int32_t type; /* 0 open, 1 open several, 2 save */
    const KF_UChar* title;
    int32_t titleLength;
    const KF_UChar* folder; /* start folder, may be null */
    int32_t folderLength;
    const uint32_t* filters; /* file type ids, in the order the user sees them */
    int32_t filterCount;
} KF_FileDialogRequest;

typedef struct KF_FileTypeRecord {
    const KF_UChar* description;
    int32_t descriptionLength;
    const KF_UChar* extension;
    int32_t extensionLength;
    uint32_t creator;
    uint32_t macType;
    int16_t iconID;
    int32_t visible;
} KF_FileTypeRecord;

typedef struct KF_LibPartRecord {
    int32_t typeID;
    int32_t index;
    KF_UChar name[256]; /* zero-ended */
    int32_t missingDef;
    int32_t isPlaceable;
} KF_LibPartRecord;

typedef struct KF_ProjectRecord {
    int32_t untitled;
    int32_t teamwork;
} KF_ProjectRecord;

/* Both fields stay where they are in every major version. */
typedef struct KF_Version {
    uint16_t major;
    uint16_t minor;
} KF_Version;

/* The entries, in table order: X(kind, minor, answer type, name, (parameters)). kind is CODE (answers
 * a host error code) or VALUE; minor is the minor version that appended it. Everything else is
 * made from this list: the table below, the host's guards and the sdk's calls. Adding an entry is
 * one line at the end plus the host's implementation (and its line in docs/abi.md). */
/* clang-format off */
#define KF_HOST_TABLE_ENTRIES(X)                                                                                       \
    /* ---- 2.0 ---- */                                                                                               \
    /* environment and registration */                                                                                \
    X(VALUE, 0, int32_t, GetTextEncoding, (KF_HostContext*))                                                          \
    X(CODE, 0, KF_Err, GetReleaseNumber, (KF_HostContext*, KF_ServerInfo* info))                                      \
    X(CODE, 0, KF_Err, GetOwnLocation, (KF_HostContext*, const KF_StringOut* out))                                    \
    X(CODE, 0, KF_Err, GetOwnModulID, (KF_HostContext*, KF_ModulID* out))                                             \
    X(VALUE, 0, void, KeepInMemory, (KF_HostContext*, int32_t keep))                                                  \
    X(CODE, 0, KF_Err, RegisterMenu, (KF_HostContext*, int16_t menuResID, int16_t promptResID, int32_t posCode,       \
                                      uint32_t flags))                                                                \
    X(CODE, 0, KF_Err, RegisterBuiltInLibrary, (KF_HostContext*))                                                     \
    X(CODE, 0, KF_Err, RegisterSupportedService, (KF_HostContext*, uint32_t cmdID, int32_t cmdVersion))               \
    X(CODE, 0, KF_Err, InstallMenuHandler, (KF_HostContext*, int16_t menuResID, KF_MenuProc proc, void* cookie))      \
    X(CODE, 0, KF_Err, InstallModulCommandHandler, (KF_HostContext*, uint32_t cmdID, int32_t cmdVersion,              \
                                                    KF_ModulCommandProc proc, void* cookie))                          \
    X(CODE, 0, KF_Err, CommandTest, (KF_HostContext*, const KF_ModulID* mdid, uint32_t cmdID, int32_t cmdVersion))    \
    X(CODE, 0, KF_Err, CommandCall, (KF_HostContext*, const KF_ModulID* mdid, uint32_t cmdID, int32_t cmdVersion,     \
                                     void* params, char* resultData, int32_t silent))                                 \
    X(CODE, 0, KF_Err, RegisterModelessWindow, (KF_HostContext*, int32_t referenceID, KF_PaletteProc proc,            \
                                                void* cookie, uint32_t controlFlags, uint64_t guidLow,                \
                                                uint64_t guidHigh))                                                   \
    X(CODE, 0, KF_Err, UnregisterModelessWindow, (KF_HostContext*, int32_t referenceID))                              \
    X(CODE, 0, KF_Err, GetMenuItemFlags, (KF_HostContext*, int16_t menuResID, int32_t itemIndex, uint32_t* flags))    \
    X(CODE, 0, KF_Err, SetMenuItemFlags, (KF_HostContext*, int16_t menuResID, int32_t itemIndex, uint32_t flags))     \
    /* resource modules */                                                                                            \
    X(VALUE, 0, int32_t, UseOwnResModule, (KF_HostContext*))                                                          \
    X(VALUE, 0, void, ResetResModule, (KF_HostContext*, int32_t previous))                                            \
    X(VALUE, 0, int32_t, GetOwnResModule, (KF_HostContext*))                                                          \
    X(VALUE, 0, int32_t, GetResString, (KF_HostContext*, int16_t resID, int16_t index, const KF_StringOut* out))      \
    /* dialogs */                                                                                                     \
    X(VALUE, 0, int16_t, ModalDialog, (KF_HostContext*, int32_t resModule, int16_t resID, int32_t iconModule,         \
                                       KF_DialogProc proc, void* cookie, int64_t userData))                           \
    X(VALUE, 0, int16_t, ModelessInit, (KF_HostContext*, int32_t resModule, int16_t resID, int32_t iconModule,        \
                                        KF_DialogProc proc, void* cookie, int64_t userData, int16_t refID))           \
    X(VALUE, 0, void, ShowModeless, (KF_HostContext*, int16_t dialID, int16_t behind))                                \
    X(VALUE, 0, void, ModelessClose, (KF_HostContext*, int16_t dialID))                                               \
    X(VALUE, 0, int32_t, IsDialogOpen, (KF_HostContext*, int16_t dialID))                                             \
    X(VALUE, 0, void, SetDialogTitle, (KF_HostContext*, int16_t dialID, const KF_UChar* text, int32_t length))        \
    X(VALUE, 0, int32_t, GetDialogTitle, (KF_HostContext*, int16_t dialID, const KF_StringOut* out))                  \
    X(VALUE, 0, void, SetDialogSize, (KF_HostContext*, int16_t dialID, int16_t rectType, int16_t hSize,               \
                                      int16_t vSize, int16_t growType, int32_t redraw))                               \
    X(VALUE, 0, void, SetFocus, (KF_HostContext*, int16_t dialID, int16_t item))                                      \
    X(VALUE, 0, void, MoveGrowItems, (KF_HostContext*, int16_t dialID, int32_t begin))                                \
    X(VALUE, 0, void, SetItemText, (KF_HostContext*, int16_t dialID, int16_t item, const KF_UChar* text,              \
                                    int32_t length))                                                                  \
    X(VALUE, 0, int32_t, GetItemText, (KF_HostContext*, int16_t dialID, int16_t item, const KF_StringOut* out))       \
    X(VALUE, 0, void, SetItemVisible, (KF_HostContext*, int16_t dialID, int16_t item, int32_t visible))               \
    X(VALUE, 0, int32_t, IsItemVisible, (KF_HostContext*, int16_t dialID, int16_t item))                              \
    X(VALUE, 0, void, SetItemEnabled, (KF_HostContext*, int16_t dialID, int16_t item, int32_t enabled))               \
    X(VALUE, 0, int32_t, IsItemEnabled, (KF_HostContext*, int16_t dialID, int16_t item))                              \
    X(VALUE, 0, void, RedrawItem, (KF_HostContext*, int16_t dialID, int16_t item))                                    \
    X(VALUE, 0, void, SetItemDraw, (KF_HostContext*, int16_t dialID, int16_t item, int32_t drawing))                  \
    X(VALUE, 0, int32_t, ListSetTabFieldCount, (KF_HostContext*, int16_t dialID, int16_t item, int16_t count))        \
    X(VALUE, 0, int32_t, ListSetTabFieldData, (KF_HostContext*, int16_t dialID, int16_t item, int16_t tabIndex,       \
                                               int16_t begPos, int16_t endPos, int16_t justFlag, int16_t truncFlag,   \
                                               int32_t hasSeparator, int32_t status))                                 \
    X(VALUE, 0, void, ListSetItemHeight, (KF_HostContext*, int16_t dialID, int16_t item, int16_t height))             \
    X(VALUE, 0, int32_t, ListInsertItem, (KF_HostContext*, int16_t dialID, int16_t item, int16_t listItem))           \
    X(VALUE, 0, void, ListDeleteItem, (KF_HostContext*, int16_t dialID, int16_t item, int16_t listItem))              \
    X(VALUE, 0, int16_t, ListGetItemCount, (KF_HostContext*, int16_t dialID, int16_t item))                           \
    /* tabIndex 0 is the row's own text; 1..n its tab fields */                                                       \
    X(VALUE, 0, void, ListSetTabItemText, (KF_HostContext*, int16_t dialID, int16_t item, int16_t listItem,           \
                                           int16_t tabIndex, const KF_UChar* text, int32_t length))                   \
    X(VALUE, 0, int32_t, ListGetTabItemText, (KF_HostContext*, int16_t dialID, int16_t item, int16_t listItem,        \
                                              int16_t tabIndex, const KF_StringOut* out))                             \
    X(VALUE, 0, void, ListSetItemIcon, (KF_HostContext*, int16_t dialID, int16_t item, int16_t listItem,              \
                                        int32_t iconModule, int16_t iconResID))                                       \
    X(VALUE, 0, void, ListSelectItem, (KF_HostContext*, int16_t dialID, int16_t item, int16_t listItem,               \
                                       int32_t select))                                                               \
    X(VALUE, 0, int16_t, ListGetSelected, (KF_HostContext*, int16_t dialID, int16_t item, int16_t startItem))         \
    X(VALUE, 0, int16_t, Alert, (KF_HostContext*, int16_t alertType, const KF_AlertTexts* texts))                     \
    /* 1 chosen (out gets the file, *selectedFilter the filter's position), 0 cancelled */                            \
    X(VALUE, 0, int32_t, FileDialog, (KF_HostContext*, const KF_FileDialogRequest* request, const KF_StringOut* out,  \
                                      uint32_t* selectedFilter))                                                      \
    X(VALUE, 0, int32_t, FolderDialog, (KF_HostContext*, const KF_UChar* title, int32_t titleLength,                  \
                                        const KF_UChar* folder, int32_t folderLength, const KF_StringOut* out))       \
    X(VALUE, 0, uint32_t, AddFileType, (KF_HostContext*, const KF_UChar* managerName, int32_t managerNameLength,      \
                                        const KF_FileTypeRecord* type, uint32_t group))                               \
    /* file system: paths are absolute, "/" between names */                                                          \
    X(CODE, 0, KF_Err, GetSpecialLocation, (KF_HostContext*, int32_t folderID, const KF_StringOut* out))              \
    X(CODE, 0, KF_Err, FolderOpen, (KF_HostContext*, const KF_UChar* path, int32_t length, int32_t createIfMissing))  \
    X(CODE, 0, KF_Err, GetEntryType, (KF_HostContext*, const KF_UChar* path, int32_t length, int32_t* type))          \
    X(CODE, 0, KF_Err, DeleteEntry, (KF_HostContext*, const KF_UChar* path, int32_t length))                          \
    X(CODE, 0, KF_Err, Enumerate, (KF_HostContext*, const KF_UChar* path, int32_t length, KF_EnumProc proc,           \
                                   void* userData))                                                                   \
    X(CODE, 0, KF_Err, FileProbe, (KF_HostContext*, const KF_UChar* path, int32_t length, int32_t createIfMissing))   \
    /* mode: one of KF_FILEMODE_...; only regular files open */                                                       \
    X(CODE, 0, KF_Err, FileOpen, (KF_HostContext*, const KF_UChar* path, int32_t length, int32_t mode,                \
                                  int64_t* handle))                                                                   \
    X(CODE, 0, KF_Err, FileClose, (KF_HostContext*, int64_t handle))                                                  \
    X(CODE, 0, KF_Err, FileGetLength, (KF_HostContext*, int64_t handle, uint64_t* length))                            \
    X(CODE, 0, KF_Err, FileSeek, (KF_HostContext*, int64_t handle, uint64_t position))                                \
    X(CODE, 0, KF_Err, FileRead, (KF_HostContext*, int64_t handle, char* buffer, uint64_t count, uint64_t* read))     \
    X(CODE, 0, KF_Err, FileWrite, (KF_HostContext*, int64_t handle, const char* data, uint64_t count,                 \
                                   uint64_t* written))                                                                \
    /* main run loop */                                                                                               \
    X(VALUE, 0, int64_t, AddTimer, (KF_HostContext*, double seconds, KF_TimerProc proc, void* cookie,                 \
                                    void* userData))                                                                  \
    X(VALUE, 0, void, RemoveTimer, (KF_HostContext*, int64_t timer))                                                  \
    X(VALUE, 0, int64_t, AddWatch, (KF_HostContext*, int32_t fd, uint32_t events, KF_WatchProc proc, void* cookie,    \
                                    void* userData))                                                                  \
    X(VALUE, 0, void, RemoveWatch, (KF_HostContext*, int64_t watch))                                                  \
    X(VALUE, 0, double, Now, (KF_HostContext*))                                                                       \
    /* operating-system services */                                                                                   \
    X(CODE, 0, KF_Err, SpawnDetached, (KF_HostContext*, const char* const* argv))                                     \
    /* libraries, library parts, project, rendering engines */                                                        \
    X(CODE, 0, KF_Err, GetLibraries, (KF_HostContext*, const KF_StringOut* eachLocation, int32_t* specialIndex))      \
    X(CODE, 0, KF_Err, AddLibrary, (KF_HostContext*, const KF_UChar* folder, int32_t length))                         \
    X(CODE, 0, KF_Err, GetProjectInfo, (KF_HostContext*, KF_ProjectRecord* record, const KF_StringOut* location,      \
                                        const KF_StringOut* teamLocation, const KF_StringOut* projectName))           \
    X(CODE, 0, KF_Err, GetRenderingSets, (KF_HostContext*, int32_t* currentEngine, int32_t* engineCount))             \
    X(CODE, 0, KF_Err, ChangeRenderingSets, (KF_HostContext*, int32_t currentEngine))                                 \
    X(VALUE, 0, int32_t, GetRendererCount, (KF_HostContext*))                                                         \
    X(VALUE, 0, int32_t, GetRendererMenuText, (KF_HostContext*, int32_t engineNumber, const KF_StringOut* out))       \
    X(CODE, 0, KF_Err, LibPartSearch, (KF_HostContext*, KF_LibPartRecord* record, int32_t createIfMissing,            \
                                       int32_t onlyPlaceable, const KF_StringOut* location))                          \
    X(CODE, 0, KF_Err, LibPartGet, (KF_HostContext*, KF_LibPartRecord* record, const KF_StringOut* location))         \
    /* optional services by versioned name (KF_SERVICE_...); null when this host has none. The answer points          \
     * at a record of that service's layout, owned by the host and valid until the add-on's FreeData returns. */      \
    X(VALUE, 0, const void*, GetService, (KF_HostContext*, const char* name))                                         \
    /* ---- 2.1 ---- */                                                                                               \
    /* renames source over target in one step (replacing target atomically) */                                        \
    X(CODE, 1, KF_Err, MoveOver, (KF_HostContext*, const KF_UChar* source, int32_t sourceLength,                      \
                                  const KF_UChar* target, int32_t targetLength))                                      \
    /* the add-on caught an exception at its side of the boundary: the host reports it (UTF-8, the texts live         \
     * during the call only) */                                                                                       \
    X(VALUE, 1, void, ReportException, (KF_HostContext*, const char* call, const char* what))                         \
    /* ---- 2.2 ---- */                                                                                               \
    /* check boxes and icon items: a set on an item of another kind changes nothing, a get answers 0 */               \
    X(VALUE, 2, void, SetItemChecked, (KF_HostContext*, int16_t dialID, int16_t item, int32_t checked))               \
    X(VALUE, 2, int32_t, IsItemChecked, (KF_HostContext*, int16_t dialID, int16_t item))                              \
    X(VALUE, 2, void, SetItemIcon, (KF_HostContext*, int16_t dialID, int16_t item, int16_t iconResID))                \
    X(VALUE, 2, int16_t, GetItemIcon, (KF_HostContext*, int16_t dialID, int16_t item))                                \
    /* entries of the next minor go above this line */
/* clang-format on */

#define KF_HOST_TABLE_MEMBER(kind, minor, answer, name, parameters) answer(*name) parameters;
typedef struct KF_HostTable {
    uint32_t size;      /* sizeof(KF_HostTable) as the host was built: which entries it has */
    KF_Version version; /* KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR of the host */
    KF_HostContext* context;
    KF_HOST_TABLE_ENTRIES(KF_HOST_TABLE_MEMBER)
} KF_HostTable;
#undef KF_HOST_TABLE_MEMBER

/* The size of the table of a 2.0 host: every 2.x host provides at least this. */
#define KF_HOST_TABLE_SIZE_2_0 ((uint32_t)offsetof(KF_HostTable, MoveOver))

/* ---- optional services (GetService) ----
 * A service's name carries its version; a changed layout is a new name, so a host may answer
 * several versions of one service. Each record starts with its size; fields are only appended. */

/* Lines into the host's transcript (and the GUI's log pane), prefixed with the add-on's name. */
#define KF_SERVICE_LOG "kfhost.log/1"
typedef struct KF_LogService {
    uint32_t size;
    void (*Write)(KF_HostContext*, const KF_UChar* text, int32_t length);
} KF_LogService;

/* What the update check asks the host. */
#define KF_SERVICE_UPDATE "kfhost.update/1"
typedef struct KF_UpdateService {
    uint32_t size;
    /* the update server's address ("host:port" or a URL), UTF-8 and owned by the host; null when
     * the host names none */
    const char* (*Server)(KF_HostContext*);
    /* the seconds one download may take; 0 when the host sets no limit of its own */
    double (*DownloadTimeLimit)(KF_HostContext*);
} KF_UpdateService;

typedef KF_Err (*KF_SetHostTableFn)(const KF_HostTable* table);
typedef int32_t (*KF_CheckEnvironmentFn)(KF_EnvirRecord* envir); /* the add-on type, 0 = do not register */
typedef KF_Err (*KF_RegisterInterfaceFn)(void);
/* client: the same opaque value as the table's context, handed over once more for add-ons that keep
 * no table; compare it, never look inside. */
typedef KF_Err (*KF_InitializeFn)(void* client);
typedef KF_Err (*KF_FreeDataFn)(void);

/* A table entry the add-on cannot run without: its name and where it ends in the table. */
typedef struct KF_Requirement {
    const char* name;
    uint32_t end;
} KF_Requirement;
#define KF_REQUIRE(entry)                                                                                              \
    {                                                                                                                  \
#entry, (uint32_t)(offsetof(KF_HostTable, entry) + sizeof(((KF_HostTable*)0)->entry))                          \
    }

/* The one symbol a bundle exports (everything else is hidden): a const KF_AddOnEntry named
 * KF_ADDON_ENTRY_SYMBOL. Its first two fields keep their place in every major version. */
#define KF_ADDON_ENTRY_SYMBOL "KFAddOn_Entry"
typedef struct KF_AddOnEntry {
    uint32_t size;      /* sizeof(KF_AddOnEntry) as the add-on was built */
    KF_Version version; /* the table version the add-on was built against */
    /* entries of later minors the add-on needs; those it does not list it must test for null */
    const KF_Requirement* required;
    int32_t requiredCount;
    KF_SetHostTableFn setHostTable; /* the table lives until FreeData returns */
    KF_CheckEnvironmentFn checkEnvironment;
    KF_RegisterInterfaceFn registerInterface;
    KF_InitializeFn initialize;
    KF_FreeDataFn freeData;
} KF_AddOnEntry;

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KFSDK_HOSTTABLE_H */
