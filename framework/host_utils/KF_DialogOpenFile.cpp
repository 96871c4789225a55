// The open-file dialog, by a list of file types or by one type described on the spot.
#include "KF/KF_Dialog.hpp"

#include "HostAPI.hpp"
#include "DG.hpp"

bool KF_Dialog::OpenFile(KF_Location& file, const KF_Location* startFolder, const KF_String& title,
                         KF_List<FTM::GeneralID>* types, long* chosenType)
{
    const HostResModule previous = HostAPI_UseOwnResModule();
    DG::FileDialog dialog(DG::FileDialog::OpenFile);
    if (types != nullptr) {
        for (long i = 0; i < types->count; ++i) {
            dialog.AddFilter((*types)[i], DG::FileDialog::NoExtensionOption);
        }
    }
    if (!title.IsNullOrEmpty()) {
        dialog.SetTitle(Base::UniString(title.Units(), title.GetLength()));
    }
    if (startFolder != nullptr) {
        dialog.SetFolder(static_cast<IO::Location>(*startFolder));
    }
    if (!dialog.Invoke()) {
        HostAPI_ResetResModule(previous);
        return false;
    }
    file.Set(dialog.GetSelectedFile(0));
    if (chosenType != nullptr) {
        *chosenType = static_cast<long>(dialog.GetSelectedFilter());
    }
    HostAPI_ResetResModule(previous);
    return true;
}

bool KF_Dialog::OpenFile(KF_Location& file, const char* typeDescription, const char* extension, long typeCode,
                         const KF_String& title, const KF_Location* startFolder)
{
    FTM::FileTypeManager manager("Module");
    FTM::FileType const type(typeDescription, extension, Base::FourCC("HOST"), static_cast<HostFourCC>(typeCode), 145,
                             nullptr, nullptr, true);
    KF_List<FTM::GeneralID> types;
    types.AddData(manager.AddType(type, FTM::RootGroup), -1);
    return OpenFile(file, startFolder, title, &types, nullptr);
}
