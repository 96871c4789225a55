// The add-on's copy of the host table, kept from the moment the host hands it over.
#include "HostTextEncoding.hpp"
#include "SdkDetail.hpp"
#include "kfsdk/ExceptionText.hpp"
#include "kfsdk/HostLink.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kfsdk {
namespace {

KF_HostTable sTable{};
bool sHasTable = false;
void* sClient = nullptr;

// Whole entries only: a size that ends inside an entry leaves that entry absent, never half copied.
std::size_t EntriesEnd(std::uint32_t size)
{
    constexpr std::size_t first = offsetof(KF_HostTable, GetTextEncoding);
    const std::size_t end = std::min<std::size_t>(size, sizeof(KF_HostTable));
    return end < first ? end : first + (end - first) / sizeof(void (*)()) * sizeof(void (*)());
}

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
    std::memcpy(&sTable, table, EntriesEnd(table->size));
    sHasTable = true;
    const std::int32_t encoding = KFSDK_CALL(GetTextEncoding);
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
    return name ? KFSDK_CALL(GetService, name) : nullptr;
}

void detail::ReportException(const char* call) noexcept
{
    const std::string what = DescribeCurrentException();
    if (Table() && Table()->ReportException)
        Table()->ReportException(Context(), call, what.c_str());
}

} // namespace kfsdk
