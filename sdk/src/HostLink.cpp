// The add-on's copy of the host table, kept from the moment the host hands it over.
#include "GSTextEncoding.hpp"
#include "SdkDetail.hpp"

#include <cstring>

namespace kfsdk {
namespace {

KF_HostTable sTable{};
bool sHasTable = false;
void* sClient = nullptr;

} // namespace

KF_Err InstallHostTable(const KF_HostTable* table)
{
    if (!table) {
        sHasTable = false;
        GS::SetApplicationTextEncoding(GS::AppTextEncoding::UTF8);
        return KF_NOERROR;
    }
    // A host of another major version, or one that provides fewer entries than this add-on was
    // built against, is refused before anything is called through it.
    if (table->version != KF_HOST_TABLE_VERSION || table->size < sizeof(KF_HostTable))
        return KF_APIERR_BADTABLEVERSION;
    std::memcpy(&sTable, table, sizeof(KF_HostTable));
    sHasTable = true;
    const std::int32_t encoding = sTable.GetTextEncoding ? sTable.GetTextEncoding(sTable.context) : KF_TEXTENC_UTF8;
    GS::SetApplicationTextEncoding(encoding == KF_TEXTENC_MACROMAN ? GS::AppTextEncoding::MacRoman
                                                                   : GS::AppTextEncoding::UTF8);
    return KF_NOERROR;
}

const KF_HostTable* CurrentHostTable() { return sHasTable ? &sTable : nullptr; }
void* ClientPointer() { return sClient; }
void SetClientPointer(void* client) { sClient = client; }

const KF_HostTable* detail::Table() { return sHasTable ? &sTable : nullptr; }

} // namespace kfsdk
