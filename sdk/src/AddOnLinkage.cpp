// The one symbol a bundle exports: its table version and thin wrappers around its entry points.
// Linked into every add-on as an object library, so that nothing here depends on being referenced.
#include "AddOnLinkage.hpp"
#include "SdkDetail.hpp"

#include <algorithm>

namespace {

using kfsdk::detail::ShieldErr;

template <std::size_t N>
std::int32_t CopyText(const Base::UniString& text, KF_UChar (&into)[N])
{
    const std::size_t count = std::min<std::size_t>(text.GetLength(), N);
    std::copy_n(text.ToUStr(), count, into);
    return std::int32_t(count);
}

KF_Err SetHostTable(const KF_HostTable* table) noexcept
{
    return table ? kfsdk::InstallHostTable(table) : KF_APIERR_BADPARS;
}

std::int32_t CheckEnvironmentEntry(KF_EnvirRecord* record) noexcept
{
    if (!kfsdk::CurrentHostTable() || !record)
        return 0;
    return kfsdk::detail::Shield("CheckEnvironment", std::int32_t(0), [&] {
        API_EnvirParams envir;
        envir.serverInfo.serverApplication = record->serverInfo.serverApplication;
        envir.serverInfo.mainVersion = record->serverInfo.mainVersion;
        envir.serverInfo.releaseVersion = record->serverInfo.releaseVersion;
        envir.serverInfo.buildNum = record->serverInfo.buildNum;
        envir.serverInfo.platform = record->serverInfo.platform;
        const API_AddOnType type = CheckEnvironment(&envir);
        record->nameLength = CopyText(envir.addOnInfo.name, record->name);
        record->descriptionLength = CopyText(envir.addOnInfo.description, record->description);
        return std::int32_t(type);
    });
}

KF_Err RegisterInterfaceEntry() noexcept
{
    if (!kfsdk::CurrentHostTable())
        return APIERR_GENERAL;
    return ShieldErr("RegisterInterface", [] { return RegisterInterface(); });
}

KF_Err InitializeEntry(void* client) noexcept
{
    if (!kfsdk::CurrentHostTable())
        return APIERR_GENERAL;
    kfsdk::SetClientPointer(client);
    return ShieldErr("Initialize", [] { return Initialize(); });
}

KF_Err FreeDataEntry() noexcept
{
    if (!kfsdk::CurrentHostTable())
        return APIERR_GENERAL;
    const KF_Err err = ShieldErr("FreeData", [] { return FreeData(); });
    kfsdk::SetClientPointer(nullptr);
    return err;
}

} // namespace

// The sdk needs no entry beyond 2.0: it tests each later one for null before calling it.
extern "C" __attribute__((visibility("default")))
const KF_AddOnEntry KFAddOn_Entry = {sizeof(KF_AddOnEntry),
                                     {KF_HOST_TABLE_MAJOR, KF_HOST_TABLE_MINOR},
                                     nullptr,
                                     0,
                                     &SetHostTable,
                                     &CheckEnvironmentEntry,
                                     &RegisterInterfaceEntry,
                                     &InitializeEntry,
                                     &FreeDataEntry};
