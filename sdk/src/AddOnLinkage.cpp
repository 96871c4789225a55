// The symbols a bundle exports: thin wrappers around the add-on's entry points. Linked into every
// add-on as an object library, so that nothing here depends on being referenced.
#include "AddOnLinkage.hpp"
#include "kfsdk/HostTable.h"

#include <algorithm>

#define KF_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

template <std::size_t N>
std::int32_t CopyText(const GS::UniString& text, KF_UChar (&into)[N])
{
    const std::size_t count = std::min<std::size_t>(text.GetLength(), N);
    std::copy_n(text.ToUStr(), count, into);
    return std::int32_t(count);
}

} // namespace

KF_EXPORT KF_Err KFAddOn_SetHostTable(const KF_HostTable* table)
{
    return table ? kfsdk::InstallHostTable(table) : KF_APIERR_BADPARS;
}

KF_EXPORT std::int32_t KFAddOn_CheckEnvironment(KF_EnvirRecord* record)
{
    if (!kfsdk::CurrentHostTable() || !record)
        return 0;
    API_EnvirParams envir;
    envir.serverInfo.serverApplication = record->serverInfo.serverApplication;
    envir.serverInfo.mainVersion = record->serverInfo.mainVersion;
    envir.serverInfo.releaseVersion = record->serverInfo.releaseVersion;
    envir.serverInfo.buildNum = record->serverInfo.buildNum;
    envir.serverInfo.platform = record->serverInfo.platform;
    const API_AddonType type = CheckEnvironment(&envir);
    record->nameLength = CopyText(envir.addOnInfo.name, record->name);
    record->descriptionLength = CopyText(envir.addOnInfo.description, record->description);
    return std::int32_t(type);
}

KF_EXPORT KF_Err KFAddOn_RegisterInterface()
{
    return kfsdk::CurrentHostTable() ? RegisterInterface() : APIERR_GENERAL;
}

KF_EXPORT KF_Err KFAddOn_Initialize(void* client)
{
    if (!kfsdk::CurrentHostTable())
        return APIERR_GENERAL;
    kfsdk::SetClientPointer(client);
    return Initialize();
}

KF_EXPORT KF_Err KFAddOn_FreeData()
{
    if (!kfsdk::CurrentHostTable())
        return APIERR_GENERAL;
    const GSErrCode err = FreeData();
    kfsdk::SetClientPointer(nullptr);
    return err;
}
