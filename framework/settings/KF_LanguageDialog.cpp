// The language dialog: a list of the languages with a live preview of the texts.
#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Language.hpp"

#include "HostAPI.hpp"
#include "DG.hpp"

namespace {

constexpr short kLanguageDialog = 32734;
constexpr short kAcceptItem = 1;
constexpr short kCancelItem = 2;
constexpr short kLanguageList = 3;
constexpr short kNoteItem = 6;
constexpr short kFirstLanguageIcon = 32758;

struct LanguageDialogRecord {
    KF_String versionLine;
    short languageAtOpening;
    short dialogID;
};

// Language index of every list row (row r at position r - 1); lives while the add-on is loaded.
KF_List<short> sLanguageRows;

KF_String FrameworkString(short language, long index)
{
    return KF_Resource_GetString(static_cast<short>(KF_Resource_FrameworkStrings + language), index, true);
}

void FillLanguageList(short dialID)
{
    DGListSetTabFieldCount(dialID, kLanguageList, 1);
    DGListSetTabFieldData(dialID, kLanguageList, 1, 5, 285, DG_IS_LEFT, DG_IS_TRUNCEND, false, true);
    DGListSetItemHeight(dialID, kLanguageList, 30);
    DGDisableDraw(dialID, kLanguageList);
    DGListDeselectItem(dialID, kLanguageList, DG_ALL_ITEMS);
    DGListDeleteItem(dialID, kLanguageList, DG_ALL_ITEMS);

    sLanguageRows.Reset();
    const KF_String showed(sett_ADDON_SHOWED_LANGUAGES, KF_String::Enc_System);
    const HostResModule icons = HostAPI_GetOwnResModule();
    for (short language = 0; language < KF_Language_Count; ++language) {
        if (!showed.IsNullOrEmpty() &&
            showed.IndexOfIgnoreCase(gKF_Languages_Suffixes[language], 0) == KF_String::NotFound) {
            continue;
        }
        sLanguageRows.AddData(language, -1);
        DGListInsertItem(dialID, kLanguageList, DG_LIST_BOTTOM);
        const short row = DGListGetItemCount(dialID, kLanguageList);
        DGListSetItemText(dialID, kLanguageList, row, Base::UniString());
        DGListSetItemIcon(dialID, kLanguageList, row, icons, static_cast<short>(kFirstLanguageIcon + language));
    }
    DGEnableDraw(dialID, kLanguageList);
    DGRedrawItem(dialID, kLanguageList);
    DGListSelectItem(dialID, kLanguageList, static_cast<short>(gKF_Language + 1));
    DGSetFocus(dialID, DG_NO_ITEM);
}

void Initialize(short dialID)
{
    DGSetDialogSize(dialID, DG_CLIENT, 483, 282, DG_TOPLEFT, false);
    DGSetDialogTitle(dialID, KF_String(sett_ADDON_NAME, KF_String::Enc_System).ToUniString());
    DGSetItemText(dialID, kAcceptItem, FrameworkString(gKF_Language, 64).ToUniString());
    DGSetItemText(dialID, kCancelItem, FrameworkString(gKF_Language, 5).ToUniString());
    DGSetItemText(dialID, kNoteItem, FrameworkString(gKF_Language, 65).ToUniString());
    FillLanguageList(dialID);
}

short Accept(short dialID, const LanguageDialogRecord& record)
{
    const short row = DGListGetSelected(dialID, kLanguageList, 0);
    const short* chosen = sLanguageRows.Get(row - 1);
    if (chosen == nullptr || *chosen == record.languageAtOpening) {
        // No row or the same language: a preview is undone. The choice is still stored when none
        // was, so that a user who accepts the preselected language is not asked on every run.
        gKF_Language = record.languageAtOpening;
        if (chosen != nullptr && (gKF_AskLanguage || !KF_Language_Exists())) {
            KF_Language_Write();
        }
        return kAcceptItem;
    }
    gKF_Language = *chosen;
    KF_Language_Write();
    return kAcceptItem;
}

// Preview: the row number is taken for the language, as the list shows every language.
void Preview(short dialID)
{
    const short row = DGListGetSelected(dialID, kLanguageList, 0);
    if (row < 1 || row > KF_Language_Count) {
        return;
    }
    gKF_Language = static_cast<short>(row - 1);
    DGSetItemText(dialID, kCancelItem, FrameworkString(gKF_Language, 5).ToUniString());
    DGSetItemText(dialID, kNoteItem, FrameworkString(gKF_Language, 65).ToUniString());
}

short KF_Dlg_Language_CallBack(short message, short dialID, short item, DGUserData userData, DGMessageData)
{
    auto* const record = reinterpret_cast<LanguageDialogRecord*>(userData);
    if (record == nullptr) {
        return 0;
    }
    if (message == DG_MSG_INIT) {
        record->dialogID = dialID;
        Initialize(dialID);
        return 0;
    }
    if (dialID != record->dialogID) {
        return 0;
    }
    switch (message) {
    case DG_MSG_CLICK:
        if (item == kAcceptItem) {
            return Accept(dialID, *record);
        }
        if (item == kCancelItem) {
            gKF_Language = record->languageAtOpening;
            return kCancelItem;
        }
        return 0;
    case DG_MSG_CHANGE:
        if (item == kLanguageList) {
            Preview(dialID);
        }
        return 0;
    case DG_MSG_CLOSE:
        // Closed other than by accepting (the close box too): the preview is undone.
        if (item != kAcceptItem) {
            gKF_Language = record->languageAtOpening;
        }
        return item;
    default:
        return 0;
    }
}

} // namespace

bool KF_Dlg_Language(const KF_String& versionLine)
{
    LanguageDialogRecord record{versionLine, gKF_Language, 0};
    const HostResModule previous = HostAPI_UseOwnResModule();
    const HostResModule own = HostAPI_GetOwnResModule();
    const short result =
        DGModalDialog(own, kLanguageDialog, own, KF_Dlg_Language_CallBack, reinterpret_cast<DGUserData>(&record));
    HostAPI_ResetResModule(previous);
    return result == kAcceptItem;
}
