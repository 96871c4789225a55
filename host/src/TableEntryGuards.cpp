// The table an add-on gets: each entry of the list is the host's function wrapped in its guard.
// The guard refuses a call from another thread before it touches anything (the context may even
// be gone), marks the host's frame for the crash and hang reports, and ends an exception of the
// host's own (out of memory, say) as the entry's error answer and a line in the transcript, never
// in the add-on's frames.
#include "TableEntries.hpp"

#include <type_traits>

namespace kfhost::detail {
namespace {

template <auto Served, bool ErrorCoded, const char* Name>
struct Guard;

template <typename R, typename... A, R (*Served)(KF_HostContext*, A...), bool ErrorCoded, const char* Name>
struct Guard<Served, ErrorCoded, Name> {
    static R Refused() noexcept
    {
        if constexpr (ErrorCoded)
            return KF_APIERR_WRONGTHREAD;
        else if constexpr (!std::is_void_v<R>)
            return R{};
    }

    static R Call(KF_HostContext* c, A... args) noexcept
    {
        if (!OnHostThread()) {
            RefuseOffThread(c, Name);
            return Refused();
        }
        CollectOffThreadWarnings(HostOf(c)); // in the order they came, before this call's own lines
        TableEntryCall scope(Name);
        try {
            return Served(c, args...);
        } catch (...) {
            ReportException(HostOf(c), nullptr, Name);
            if constexpr (ErrorCoded)
                return kfsdk::ErrorOfCurrentException();
            else if constexpr (!std::is_void_v<R>)
                return R{};
        }
    }
};

constexpr bool kErrorCoded_CODE = true;
constexpr bool kErrorCoded_VALUE = false;

#define KF_ENTRY_NAME(kind, minor, answer, name, parameters) constexpr char kName_##name[] = #name;
KF_HOST_TABLE_ENTRIES(KF_ENTRY_NAME)
#undef KF_ENTRY_NAME

} // namespace

void FillGuardedEntries(KF_HostTable& t)
{
#define KF_GUARD(kind, minor, answer, name, parameters)                                                                \
    static_assert(minor <= KF_HOST_TABLE_MINOR, #name " is of a minor this host does not have");                       \
    t.name = &Guard<&entry::name, kErrorCoded_##kind, kName_##name>::Call;
    KF_HOST_TABLE_ENTRIES(KF_GUARD)
#undef KF_GUARD
}

} // namespace kfhost::detail
