// Internal to the sdk: reaching the host table, and the small conversions every forwarding call needs.
#pragma once

#include "HostUniString.hpp"
#include "kfsdk/ExceptionText.hpp"
#include "kfsdk/HostLink.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace kfsdk::detail {

// The table, or null before the host has handed it over.
const KF_HostTable* Table();
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

// Calls a table entry, or answers fallback when the table (or the entry) is not there.
#define KFSDK_CALL(entry, fallback, ...)                                                                               \
    (::kfsdk::detail::Table() && ::kfsdk::detail::Table()->entry                                                       \
         ? ::kfsdk::detail::Table()->entry(::kfsdk::detail::Context() __VA_OPT__(, ) __VA_ARGS__)                      \
         : (fallback))
