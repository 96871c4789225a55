// The add-on's copy of the host table, kept from the moment the host hands it over.
#include "HostTextEncoding.hpp"
#include "SdkDetail.hpp"
#include "kfsdk/ExceptionText.hpp"
#include "kfsdk/HostLink.hpp"

#include <algorithm>
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
        Base::SetApplicationTextEncoding(Base::AppTextEncoding::UTF8);
        return KF_NOERROR;
    }
    // Another major, or a table smaller than its major's first minor, is refused before anything is
    // called through it. Entries of later minors the host lacks stay null: the calls that need them
    // answer their fallback.
    if (table->version.major != KF_HOST_TABLE_MAJOR || table->size < KF_HOST_TABLE_SIZE_2_0)
        return KF_APIERR_BADTABLEVERSION;
    sTable = KF_HostTable{};
    std::memcpy(&sTable, table, std::min<std::size_t>(table->size, sizeof(KF_HostTable)));
    sHasTable = true;
    const std::int32_t encoding = sTable.GetTextEncoding ? sTable.GetTextEncoding(sTable.context) : KF_TEXTENC_UTF8;
    Base::SetApplicationTextEncoding(encoding == KF_TEXTENC_MACROMAN ? Base::AppTextEncoding::MacRoman
                                                                     : Base::AppTextEncoding::UTF8);
    return KF_NOERROR;
}

const KF_HostTable* CurrentHostTable()
{
    return sHasTable ? &sTable : nullptr;
}
void* ClientPointer()
{
    return sClient;
}
void SetClientPointer(void* client)
{
    sClient = client;
}

const void* HostService(const char* name)
{
    return name ? KFSDK_CALL(GetService, static_cast<const void*>(nullptr), name) : nullptr;
}

const KF_HostTable* detail::Table()
{
    return sHasTable ? &sTable : nullptr;
}

void detail::ReportException(const char* call) noexcept
{
    const std::string what = DescribeCurrentException();
    if (Table() && Table()->ReportException)
        Table()->ReportException(Context(), call, what.c_str());
}

} // namespace kfsdk
