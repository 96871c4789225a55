// The host's loaded libraries, and loading the maker's suite library.
#include "KF/KF_LibPart.hpp"

#include "DG.hpp"
#include "KF/KF_AddonConstants.hpp"

namespace {

constexpr const char* sSuiteLibraryName = "Tavolo_Library";

KF_Location SuiteLibraryFolder()
{
    KF_Location folder = KF_Location::AddOnLocation(true);
    folder.path += "/";
    folder.path += KF_String(sSuiteLibraryName, KF_String::Enc_System);
    return folder;
}

bool IsSuiteLibrary(const KF_Location& library, const KF_Location& suiteFolder)
{
    const KF_String& path = library.path;
    if (path.IsNull()) {
        return false;
    }
    if (path.GetLength() == suiteFolder.path.GetLength() &&
        KF_String::CompareIgnoreCase(path, 0, suiteFolder.path, 0, 0) == 0) {
        return true;
    }
    const unsigned int slash = path.LastIndexOf('/');
    const KF_String lastName = slash == KF_String::NotFound ? path : path.Substring(slash + 1);
    const KF_String wanted(sSuiteLibraryName, KF_String::Enc_System);
    return lastName.GetLength() == wanted.GetLength() && KF_String::CompareIgnoreCase(lastName, 0, wanted, 0, 0) == 0;
}

HostErrCode AddLibrary(const KF_Location& folder)
{
    IO::Location location = folder;
    return HostAPI_Environment(HostEnv_AddLibraries, &location);
}

} // namespace

bool KF_Library::Libraries(KF_List<KF_Location>& out)
{
    out.Reset();
    API_LibraryList list{};
    if (HostAPI_Environment(HostEnv_GetLibraries, &list) != NoError) {
        return false;
    }
    long available = 0;
    if (list.locations != nullptr && list.count > 0) {
        available = static_cast<long>(BMGetHandleSize(list.locations) / HostSize(sizeof(IO::Location*)));
        if (available > list.count) {
            available = list.count;
        }
    }
    for (long i = 0; i < available; ++i) {
        IO::Location*& hostLocation = reinterpret_cast<IO::Location**>(*list.locations)[i];
        KF_Location library;
        if (hostLocation != nullptr) {
            library.Set(*hostLocation);
        }
        out.AddData(library, -1);
        delete hostLocation;
        hostLocation = nullptr;
    }
    BMKillHandle(&list.locations);
    if (list.specialIndex > 0) {
        out.MoveData(list.specialIndex, 0);
    }
    return true;
}

bool KF_Library::Load(bool checkLoaded)
{
    const KF_Location suiteFolder = SuiteLibraryFolder();
    if (checkLoaded) {
        KF_List<KF_Location> libraries;
        if (Libraries(libraries)) {
            for (long i = libraries.count - 1; i >= 0; --i) {
                if (IsSuiteLibrary(libraries[i], suiteFolder)) {
                    return true;
                }
            }
        }
    }
    // A missing folder is left for the caller's next search to tell.
    if (!suiteFolder.IsFolder()) {
        return true;
    }
    return AddLibrary(suiteFolder) == NoError;
}

bool KF_Library::Ask(const KF_String& message, bool prefixWithAddOnName)
{
    const KF_String title =
        prefixWithAddOnName ? KF_String(sett_ADDON_NAME, KF_String::Enc_System) + ": " + message : message;
    DG::FolderDialog dialog;
    if (!title.IsNullOrEmpty()) {
        dialog.SetTitle(Base::UniString(title.Units(), title.GetLength()));
    }
    if (!dialog.Invoke()) {
        return false;
    }
    // Through a KF_Location, so that a trailing "/" is dropped.
    KF_Location chosen;
    chosen.Set(dialog.GetFolder());
    return AddLibrary(chosen) == NoError;
}
