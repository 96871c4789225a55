// Libraries and library parts: the folders given on the command line, the project's embedded
// library, those added by add-ons and the add-ons' built-in libraries (docs/libraries.md).
#include "TableEntries.hpp"
#include "LibrariesCatalog.hpp"
#include "kfhost/Text.hpp"

#include <algorithm>
#include <cstring>

namespace kfhost::detail {
namespace {

namespace fs = std::filesystem;
using libraries::AddResult;
using libraries::Catalog;
using libraries::Part;
using libraries::PartType;

struct LibraryState : TableEntryState {
    bool configured = false;
    Catalog catalog;
    std::ptrdiff_t embedded = -1;   // position of the project's library in the catalog
    std::vector<fs::path> builtIns; // bundles whose library is active
};

KF_Err Refusal(AddResult result)
{
    switch (result) {
    case AddResult::Added:
    case AddResult::AlreadyLoaded:
        return KF_NOERROR;
    case AddResult::NotFound:
        return KF_IOERR_FILENOTFOUND;
    case AddResult::NotAFolder:
        return KF_IOERR_NOTAFOLDER;
    case AddResult::Unreadable:
        break;
    }
    return KF_IOERR_ACCESSDENIED;
}

const char* Reason(AddResult result)
{
    switch (result) {
    case AddResult::NotFound:
        return "no such folder";
    case AddResult::NotAFolder:
        return "not a folder";
    case AddResult::Unreadable:
        return "cannot be read";
    default:
        return "";
    }
}

AddResult Load(Host& host, LibraryState& state, const fs::path& folder, bool listed)
{
    std::vector<std::string> warnings;
    const AddResult result = state.catalog.Add(folder, listed, &warnings);
    for (std::string& warning : warnings)
        host.Warn("library warning: " + std::move(warning));
    return result;
}

// The libraries of the configuration are loaded on first use; built-in libraries follow the
// add-ons that registered them.
LibraryState& StateOf(Host& host)
{
    LibraryState& state = host.EntryState<LibraryState>();
    if (!state.configured) {
        state.configured = true;
        for (const fs::path& folder : host.Config().libraries) {
            if (const AddResult r = Load(host, state, folder, true); Refusal(r) != KF_NOERROR)
                host.Warn("library refused " + Quote(folder.string()) + ": " + Reason(r));
        }
        if (const fs::path& embedded = host.Config().embeddedLibrary; !embedded.empty()) {
            const AddResult r = Load(host, state, embedded, true);
            if (r == AddResult::Added)
                state.embedded = std::ptrdiff_t(state.catalog.Libraries().size()) - 1;
            else if (Refusal(r) != KF_NOERROR)
                host.Warn("library refused " + Quote(embedded.string()) + ": " + Reason(r));
        }
    }
    std::vector<fs::path> current;
    for (const AddOn* addOn : host.BuiltInLibraries())
        current.push_back(addOn->bundlePath / "library");
    if (current != state.builtIns) {
        for (const fs::path& gone : state.builtIns) {
            if (std::find(current.begin(), current.end(), gone) == current.end())
                state.catalog.Deactivate(gone);
        }
        for (const fs::path& folder : current)
            Load(host, state, folder, false);
        state.builtIns = std::move(current);
    }
    return state;
}

std::u16string_view NameOf(const KF_LibPartRecord& record)
{
    constexpr std::size_t room = sizeof record.name / sizeof record.name[0];
    std::size_t length = 0;
    while (length < room && record.name[length] != 0)
        ++length;
    return {reinterpret_cast<const char16_t*>(record.name), length};
}

void Answer(const Part& part, KF_LibPartRecord& record, const KF_StringOut* location)
{
    record.index = part.index;
    record.typeID = part.type;
    record.missingDef = part.missingDef ? 1 : 0;
    record.isPlaceable = libraries::IsPlaceable(part.type) ? 1 : 0;
    Emit(location, FromUTF8(part.file.string()));
}

} // namespace

namespace entry {

KF_Err RegisterBuiltInLibrary(KF_HostContext* c)
{
    HostOf(c).AddBuiltInLibrary(Self(c));
    return KF_NOERROR;
}

KF_Err GetLibraries(KF_HostContext* c, const KF_StringOut* eachLocation, std::int32_t* specialIndex)
{
    LibraryState& state = StateOf(HostOf(c));
    const auto& all = state.catalog.Libraries();
    std::int32_t listed = 0;
    std::int32_t embeddedAt = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!all[i].listed || !all[i].active)
            continue;
        if (std::ptrdiff_t(i) == state.embedded)
            embeddedAt = listed;
        Emit(eachLocation, FromUTF8(all[i].folder.string()));
        ++listed;
    }
    if (specialIndex)
        *specialIndex = embeddedAt;
    return KF_NOERROR;
}

KF_Err AddLibrary(KF_HostContext* c, const KF_UChar* folder, std::int32_t length)
{
    Host& host = HostOf(c);
    std::string const path = PathOf(folder, length);
    if (path.empty())
        return KF_APIERR_BADPARS;
    LibraryState& state = StateOf(host);
    const AddResult result = Load(host, state, path, true);
    if (Refusal(result) != KF_NOERROR) {
        host.Log().Add("library refused " + Quote(path) + ": " + Reason(result));
        return Refusal(result);
    }
    host.Log().Add(std::string(result == AddResult::Added ? "library added " : "library already loaded ") +
                   Quote(path));
    return KF_NOERROR;
}

// createIfMissing is not offered: nothing is ever created.
KF_Err LibPartSearch(KF_HostContext* c, KF_LibPartRecord* record, std::int32_t /*createIfMissing*/,
                     std::int32_t onlyPlaceable, const KF_StringOut* location)
{
    if (!record)
        return KF_APIERR_BADPARS;
    std::u16string_view const name = NameOf(*record);
    if (name.empty() || record->typeID < 0 || record->typeID > libraries::Skylight)
        return KF_APIERR_BADID;
    const Part* part = StateOf(HostOf(c)).catalog.Find(name, PartType(record->typeID), onlyPlaceable != 0);
    if (!part)
        return KF_APIERR_BADID;
    Answer(*part, *record, location);
    return KF_NOERROR;
}

KF_Err LibPartGet(KF_HostContext* c, KF_LibPartRecord* record, const KF_StringOut* location)
{
    if (!record)
        return KF_APIERR_BADPARS;
    const Part* part = StateOf(HostOf(c)).catalog.Get(record->index);
    if (!part)
        return KF_APIERR_BADID;
    std::size_t const count = std::min(part->name.size(), sizeof record->name / sizeof record->name[0] - 1);
    std::memcpy(record->name, part->name.data(), count * sizeof(KF_UChar));
    record->name[count] = 0;
    Answer(*part, *record, location);
    return KF_NOERROR;
}

} // namespace entry

} // namespace kfhost::detail
