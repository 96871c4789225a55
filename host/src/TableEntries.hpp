// Internal: the parts of the host table, each filled by the file that serves it.
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

void FillAddOnEntries(KF_HostTable& table);     // registration, menus, commands, resources
void FillDialogEntries(KF_HostTable& table);    // dialogs, alerts, system dialogs, file types
void FillFileEntries(KF_HostTable& table);      // file system
void FillSystemEntries(KF_HostTable& table);    // run loop, launching, settings, services
void FillLibraryEntries(KF_HostTable& table);   // libraries and library parts
void FillProjectEntries(KF_HostTable& table);   // project information
void FillRenderingEntries(KF_HostTable& table); // rendering engines
// Wraps every filled entry in its guard (see TableEntryGuards.cpp); done last.
void GuardEntries(KF_HostTable& table);

} // namespace kfhost::detail
