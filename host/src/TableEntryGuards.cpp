// Every table entry runs inside a guard: the host's clock for the add-on rests while it serves it,
// and an exception of the host's own (out of memory, say) ends as the entry's error answer and a
// line in the transcript, never in the add-on's frames.
#include "TableEntries.hpp"
#include "kfhost/Calls.hpp"

#include <cstddef>
#include <type_traits>

namespace kfhost::detail {
namespace {

// Entries that answer a host error code; the others answer a value, zero when they fail.
// clang-format off
#define KF_ERROR_ENTRIES(X) \
    X(GetReleaseNumber) X(GetOwnLocation) X(GetOwnModulID) X(RegisterMenu) X(RegisterBuiltInLibrary) \
    X(RegisterSupportedService) X(InstallMenuHandler) X(InstallModulCommandHandler) X(CommandTest) \
    X(CommandCall) X(RegisterModelessWindow) X(UnregisterModelessWindow) X(GetMenuItemFlags) \
    X(SetMenuItemFlags) X(GetSpecialLocation) X(FolderOpen) X(GetEntryType) X(DeleteEntry) X(Enumerate) \
    X(FileProbe) X(FileOpen) X(FileClose) X(FileGetLength) X(FileSeek) X(FileRead) X(FileWrite) \
    X(SpawnDetached) X(GetLibraries) X(AddLibrary) X(GetProjectInfo) X(GetRenderingSets) \
    X(ChangeRenderingSets) X(LibPartSearch) X(LibPartGet) X(MoveOver)

#define KF_VALUE_ENTRIES(X) \
    X(GetTextEncoding) X(KeepInMemory) X(UseOwnResModule) X(ResetResModule) X(GetOwnResModule) X(GetResString) \
    X(ModalDialog) X(ModelessInit) X(ShowModeless) X(ModelessClose) X(IsDialogOpen) X(SetDialogTitle) \
    X(GetDialogTitle) X(SetDialogSize) X(SetFocus) X(MoveGrowItems) X(SetItemText) X(GetItemText) \
    X(SetItemVisible) X(IsItemVisible) X(SetItemEnabled) X(IsItemEnabled) X(RedrawItem) X(SetItemDraw) \
    X(ListSetTabFieldCount) X(ListSetTabFieldData) X(ListSetItemHeight) X(ListInsertItem) X(ListDeleteItem) \
    X(ListGetItemCount) X(ListSetTabItemText) X(ListGetTabItemText) X(ListSetItemIcon) X(ListSelectItem) \
    X(ListGetSelected) X(Alert) X(FileDialog) X(FolderDialog) X(AddFileType) X(AddTimer) X(RemoveTimer) \
    X(AddWatch) X(RemoveWatch) X(Now) X(GetRendererCount) X(GetRendererMenuText) X(GetService) \
    X(ReportException)
// clang-format on

#define KF_COUNT(name) +1
static_assert(offsetof(KF_HostTable, context) +
                      sizeof(void*) * (1 KF_ERROR_ENTRIES(KF_COUNT) KF_VALUE_ENTRIES(KF_COUNT)) ==
                  sizeof(KF_HostTable),
              "every entry of the table is listed here");

template <auto Member, bool ErrorCoded>
struct Guard;

template <typename R, typename... A, R (*KF_HostTable::*Member)(KF_HostContext*, A...), bool ErrorCoded>
struct Guard<Member, ErrorCoded> {
    static inline R (*served)(KF_HostContext*, A...) = nullptr;
    static inline const char* name = "";

    static R Call(KF_HostContext* c, A... args) noexcept
    {
        HostEntry scope(name);
        try {
            return served(c, args...);
        } catch (...) {
            ReportException(HostOf(c), nullptr, name);
            if constexpr (ErrorCoded)
                return kfsdk::ErrorOfCurrentException();
            else if constexpr (!std::is_void_v<R>)
                return R{};
        }
    }
};

} // namespace

void GuardEntries(KF_HostTable& t)
{
#define KF_GUARD(entry, coded)                                                                                         \
    if (t.entry) {                                                                                                     \
        using G = Guard<&KF_HostTable::entry, coded>;                                                                  \
        if (t.entry != &G::Call) {                                                                                     \
            G::served = t.entry;                                                                                       \
            G::name = #entry;                                                                                          \
        }                                                                                                              \
        t.entry = &G::Call;                                                                                            \
    }
#define KF_GUARD_ERROR(entry) KF_GUARD(entry, true)
#define KF_GUARD_VALUE(entry) KF_GUARD(entry, false)
    KF_ERROR_ENTRIES(KF_GUARD_ERROR)
    KF_VALUE_ENTRIES(KF_GUARD_VALUE)
#undef KF_GUARD_VALUE
#undef KF_GUARD_ERROR
#undef KF_GUARD
}

} // namespace kfhost::detail
