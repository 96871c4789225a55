// Folder listing shared by GetFilesInFolder and GetSubFolders.
#include "KF/KF_Location.hpp"

namespace {

struct ListingParams {
    bool recursive;
    KF_List<KF_Location>* result;
    KF_List<KF_String>* extensions; // null: no filter
    bool foldersMode;
};

// The text after the last "." when it stands after the last "/" and is not the last character.
KF_String ExtensionOf(const KF_String& path)
{
    const unsigned int dot = path.LastIndexOf('.');
    if (dot == KF_String::NotFound || dot + 1 >= path.GetLength()) {
        return KF_String();
    }
    const unsigned int slash = path.LastIndexOf('/');
    if (slash != KF_String::NotFound && slash > dot) {
        return KF_String();
    }
    return path.Substring(dot + 1);
}

bool PassesFilter(const KF_String& path, const KF_List<KF_String>& extensions)
{
    const KF_String extension = ExtensionOf(path);
    if (extension.IsNullOrEmpty()) {
        return false;
    }
    for (long i = 0; i < extensions.count; ++i) {
        if (KF_String::CompareIgnoreCase(extensions[i], 0, extension, 0, 0) == 0) {
            return true;
        }
    }
    return false;
}

bool EnumerateEntry(const IO::Folder& folder, const IO::Name& entryName, bool isFolder, void* userData)
{
    auto& params = *static_cast<ListingParams*>(userData);
    IO::Location entryLocation;
    folder.GetLocation(&entryLocation);
    entryLocation.AppendToLocal(entryName);
    KF_Location entry;
    entry.Set(entryLocation);

    if (!isFolder) {
        if (params.foldersMode) {
            return true;
        }
        if (params.extensions == nullptr || PassesFilter(entry.path, *params.extensions)) {
            params.result->AddData(entry, -1);
        }
        return true;
    }
    if (params.foldersMode) {
        params.result->AddData(entry, -1);
    }
    if (params.recursive) {
        IO::Folder const sub(static_cast<IO::Location>(entry), IO::Folder::Fail);
        if (sub.GetStatus() != NoError || sub.Enumerate(EnumerateEntry, userData) != NoError) {
            return false;
        }
    }
    return true;
}

bool ListFolder(const KF_Location& folderLocation, ListingParams& params)
{
    if (params.result == nullptr) {
        return false;
    }
    IO::Folder const folder(static_cast<IO::Location>(folderLocation), IO::Folder::Fail);
    if (folder.GetStatus() != NoError) {
        return false;
    }
    return folder.Enumerate(EnumerateEntry, &params) == NoError;
}

} // namespace

bool KF_Location::GetFilesInFolder(KF_List<KF_String>* extensions, bool recursive, KF_List<KF_Location>* result) const
{
    ListingParams params{recursive, result, extensions, false};
    return ListFolder(*this, params);
}

bool KF_Location::GetSubFolders(bool recursive, KF_List<KF_Location>* result) const
{
    ListingParams params{recursive, result, nullptr, true};
    return ListFolder(*this, params);
}
