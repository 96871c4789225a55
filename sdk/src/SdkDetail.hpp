// Internal to the sdk: reaching the host table, and the small conversions every forwarding call needs.
#pragma once

#include "HostUniString.hpp"
#include "kfsdk/ExceptionText.hpp"
#include "kfsdk/HostLink.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kfsdk::detail {

// The table, or null before the host has handed it over.
inline const KF_HostTable* Table()
{
    return CurrentHostTable();
}
inline KF_HostContext* Context()
{
    return Table()->context;
}

// Tells the host of the exception being handled, caught where call entered the add-on.
void ReportException(const char* call) noexcept;

// Runs fn where a host callback enters the add-on: an exception stops here, is reported to the host
// and becomes onException.
template <typename R, typename F>
R Shield(const char* call, R onException, F&& fn) noexcept
{
    try {
        return fn();
    } catch (...) {
        ReportException(call);
        return onException;
    }
}

// The same for calls that answer a host error code: the exception becomes the code of its kind.
template <typename F>
KF_Err ShieldErr(const char* call, F&& fn) noexcept
{
    try {
        return fn();
    } catch (...) {
        ReportException(call);
        return ErrorOfCurrentException();
    }
}

// Collects one answer of the host into a Base::UniString.
struct UniOut {
    Base::UniString value;
    bool answered = false;
    KF_StringOut out{&UniOut::Sink, this};

    UniOut() = default;
    UniOut(const UniOut&) = delete;
    UniOut& operator=(const UniOut&) = delete;
    const KF_StringOut* Out() const { return &out; }

    static void Sink(void* self, const KF_UChar* units, std::int32_t length) noexcept
    {
        auto* me = static_cast<UniOut*>(self);
        me->answered = Shield("a text answer", false, [&] {
            me->value = Base::UniString(reinterpret_cast<const Base::uchar_t*>(units), USize(length < 0 ? 0 : length));
            return true;
        });
    }
};

inline const KF_UChar* Units(const Base::UniString& s)
{
    return reinterpret_cast<const KF_UChar*>(s.ToUStr());
}
inline std::int32_t Length(const Base::UniString& s)
{
    return std::int32_t(s.GetLength());
}

// 8-bit text in the application text encoding (UTF-8 or Mac OS Roman).
std::string ToAppBytes(const Base::UniString& text);
Base::UniString FromAppBytes(std::string_view bytes);
// Copies bytes into buffer of size bytes with its terminator, never cutting a UTF-8 sequence in
// two when the application encoding is UTF-8.
void CopyTerminated(const std::string& bytes, char* buffer, std::size_t size);

} // namespace kfsdk::detail

// Calls the table entry member, or, without the table or the entry, answers what its kind answers
// for "not there": APIERR_GENERAL for an entry that answers a host error code, zero for the others
// (the list of kfsdk/HostTable.h tells which is which).
namespace kfsdk::detail {

template <auto Member>
struct EntryOf;
template <typename R, typename... A, R (*KF_HostTable::*Member)(KF_HostContext*, A...)>
struct EntryOf<Member> {
    using Answer = R;
};

template <auto Member>
inline constexpr bool kErrorCoded = false;
constexpr bool kErrorCoded_CODE = true;
constexpr bool kErrorCoded_VALUE = false;
#define KFSDK_ENTRY_KIND(kind, minor, answer, name, parameters)                                                        \
    template <>                                                                                                        \
    inline constexpr bool kErrorCoded<&KF_HostTable::name> = kErrorCoded_##kind;
KF_HOST_TABLE_ENTRIES(KFSDK_ENTRY_KIND)
#undef KFSDK_ENTRY_KIND

template <auto Member, typename... Args>
typename EntryOf<Member>::Answer Call(Args&&... args)
{
    using R = typename EntryOf<Member>::Answer;
    if (const KF_HostTable* t = Table(); t && t->*Member)
        return (t->*Member)(t->context, std::forward<Args>(args)...);
    if constexpr (kErrorCoded<Member>)
        return R(KF_APIERR_GENERAL);
    else if constexpr (!std::is_void_v<R>)
        return R{};
}

} // namespace kfsdk::detail

#define KFSDK_CALL(entry, ...) ::kfsdk::detail::Call<&KF_HostTable::entry>(__VA_ARGS__)
