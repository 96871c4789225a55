// Internal: the host's side of the table. Every entry of the list in kfsdk/HostTable.h is one
// function of namespace entry, defined by the file that serves it (an entry without one fails the
// link, naming it); TableEntryGuards.cpp makes the table of them, each wrapped in its guard.
#pragma once

#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kfsdk/HostTable.h"

#include <string>
#include <string_view>

namespace kfhost::detail {

AddOn& Self(KF_HostContext* context);
inline Host& HostOf(KF_HostContext* context)
{
    return *Self(context).host;
}

std::u16string Text(const KF_UChar* units, std::int32_t length);
void Emit(const KF_StringOut* out, std::u16string_view text);
std::string PathOf(const KF_UChar* units, std::int32_t length); // UTF-8

namespace entry {
#define KF_DECLARE_ENTRY(kind, minor, answer, name, parameters) answer name parameters;
KF_HOST_TABLE_ENTRIES(KF_DECLARE_ENTRY)
#undef KF_DECLARE_ENTRY
} // namespace entry

// Every entry of the table, guarded.
void FillGuardedEntries(KF_HostTable& table);

} // namespace kfhost::detail
