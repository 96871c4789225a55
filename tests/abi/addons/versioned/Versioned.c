/* An add-on written in C against one frozen table header (the include path picks it): it says in
 * the host's log which table it was built against and which it runs in, and uses a later entry
 * only when the host has it. REQUIRE_NEWER makes it list that entry as one it cannot do without,
 * REQUIRE_LAST the table up to its last entry. */
#include "kfsdk/HostTable.h"

#include <stdio.h>

#define EXPORT __attribute__((visibility("default")))

#if KF_HOST_TABLE_MAJOR == 3

/* Nothing of another major may be called: a host that did would crash on the null entries. */
EXPORT const KF_AddOnEntry KFAddOn_Entry = {
    sizeof(KF_AddOnEntry), {KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR}, NULL, NULL};

#else

static const KF_HostTable* sTable;

#define ENTRY_END(entry) (offsetof(KF_HostTable, entry) + sizeof(((KF_HostTable*)0)->entry))
#define HOST_HAS(entry) (sTable->size >= ENTRY_END(entry) && sTable->entry != NULL)

static void Say(const char* ascii)
{
    const KF_LogService* log = (const KF_LogService*)sTable->GetService(sTable->context, KF_SERVICE_LOG);
    KF_UChar units[160];
    int32_t n = 0;
    if (log == NULL || log->size < sizeof(KF_LogService))
        return;
    for (; ascii[n] != 0 && n < 160; ++n)
        units[n] = (KF_UChar)ascii[n];
    log->Write(sTable->context, units, n);
}

static KF_Err SetHostTable(const KF_HostTable* table)
{
    if (table->version.major != KF_HOST_TABLE_MAJOR || table->size < ENTRY_END(GetService))
        return KF_APIERR_BADTABLEVERSION;
    sTable = table;
    return KF_NOERROR;
}

static int32_t CheckEnvironment(KF_EnvirRecord* envir)
{
    const char* name = ADDON_NAME;
    int32_t n = 0;
    for (; name[n] != 0 && n < KF_ENVIR_NAME_MAX; ++n)
        envir->name[n] = (KF_UChar)name[n];
    envir->nameLength = n;
    return 1;
}

static KF_Err RegisterInterface(void)
{
    return KF_NOERROR;
}

static KF_Err Initialize(void* client)
{
    char line[160];
    (void)client;
    snprintf(line, sizeof line, "built against %u.%u, running in host table %u.%u", KF_HOST_TABLE_MAJOR,
             KF_HOST_TABLE_MINOR, (unsigned)sTable->version.major, (unsigned)sTable->version.minor);
    Say(line);
#if KF_HOST_TABLE_MINOR >= 3
    Say(HOST_HAS(GetHostLanguage) ? "GetHostLanguage: used" : "GetHostLanguage: absent, done without");
#endif
    return KF_NOERROR;
}

static KF_Err FreeData(void)
{
    Say("freed");
    return KF_NOERROR;
}

#ifdef REQUIRE_NEWER
static const KF_Requirement kRequired[] = {KF_REQUIRE(GetHostLanguage)};
#define REQUIRED kRequired, 1
#elif defined REQUIRE_LAST
/* exactly up to the end of the table it was built against */
static const KF_Requirement kRequired[] = {{"the last entry", (uint32_t)sizeof(KF_HostTable)}};
#define REQUIRED kRequired, 1
#else
#define REQUIRED NULL, 0
#endif

EXPORT const KF_AddOnEntry KFAddOn_Entry = {sizeof(KF_AddOnEntry),
                                            {KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR},
                                            REQUIRED,
                                            SetHostTable,
                                            CheckEnvironment,
                                            RegisterInterface,
                                            Initialize,
                                            FreeData};

#endif
