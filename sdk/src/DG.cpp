// DG calls forwarded to the host's dialog manager.
#include "DG.hpp"

#include "SdkDetail.hpp"

namespace {

using kfsdk::detail::Length;
using kfsdk::detail::UniOut;
using kfsdk::detail::Units;

std::int16_t DialogTrampoline(void* cookie, std::int16_t message, std::int16_t dialID, std::int16_t item,
                              std::int64_t userData, std::int64_t msgData) noexcept
{
    return kfsdk::detail::Shield("dialog handler", std::int16_t(0), [&] {
        const auto callback = reinterpret_cast<DGDialCallBack>(cookie);
        return callback ? callback(message, dialID, item, userData, msgData) : std::int16_t(0);
    });
}

void* Cookie(DGDialCallBack callback)
{
    return reinterpret_cast<void*>(callback);
}

} // namespace

short DGModalDialog(HostResModule resModule, short resID, HostResModule iconResModule, DGDialCallBack callback,
                    DGUserData userData)
{
    return KFSDK_CALL(ModalDialog, resModule, resID, iconResModule, &DialogTrampoline, Cookie(callback), userData);
}

short DGModelessInit(HostResModule resModule, short resID, HostResModule iconResModule, DGDialCallBack callback,
                     DGUserData userData, short refID)
{
    return KFSDK_CALL(ModelessInit, resModule, resID, iconResModule, &DialogTrampoline, Cookie(callback), userData,
                      refID);
}

void DGShowModelessDialog(short dialID, short behind)
{
    KFSDK_CALL(ShowModeless, dialID, behind);
}
void DGModelessClose(short dialID)
{
    KFSDK_CALL(ModelessClose, dialID);
}
bool DGIsDialogOpen(short dialID)
{
    return KFSDK_CALL(IsDialogOpen, dialID) != 0;
}

void DGSetDialogTitle(short dialID, const Base::UniString& title)
{
    KFSDK_CALL(SetDialogTitle, dialID, Units(title), Length(title));
}

Base::UniString DGGetDialogTitle(short dialID)
{
    UniOut out;
    KFSDK_CALL(GetDialogTitle, dialID, out.Out());
    return out.value;
}

void DGSetDialogSize(short dialID, short rectType, short hSize, short vSize, short growType, bool redraw)
{
    KFSDK_CALL(SetDialogSize, dialID, rectType, hSize, vSize, growType, redraw ? 1 : 0);
}

void DGSetFocus(short dialID, short item)
{
    KFSDK_CALL(SetFocus, dialID, item);
}
void DGBeginMoveGrowItems(short dialID)
{
    KFSDK_CALL(MoveGrowItems, dialID, 1);
}
void DGEndMoveGrowItems(short dialID)
{
    KFSDK_CALL(MoveGrowItems, dialID, 0);
}

void DGSetItemText(short dialID, short item, const Base::UniString& text)
{
    KFSDK_CALL(SetItemText, dialID, item, Units(text), Length(text));
}

Base::UniString DGGetItemText(short dialID, short item)
{
    UniOut out;
    KFSDK_CALL(GetItemText, dialID, item, out.Out());
    return out.value;
}

void DGShowItem(short dialID, short item)
{
    KFSDK_CALL(SetItemVisible, dialID, item, 1);
}
void DGHideItem(short dialID, short item)
{
    KFSDK_CALL(SetItemVisible, dialID, item, 0);
}
void DGEnableItem(short dialID, short item)
{
    KFSDK_CALL(SetItemEnabled, dialID, item, 1);
}
void DGDisableItem(short dialID, short item)
{
    KFSDK_CALL(SetItemEnabled, dialID, item, 0);
}
bool DGIsItemVisible(short dialID, short item)
{
    return KFSDK_CALL(IsItemVisible, dialID, item) != 0;
}
bool DGIsItemEnabled(short dialID, short item)
{
    return KFSDK_CALL(IsItemEnabled, dialID, item) != 0;
}
void DGSetItemChecked(short dialID, short item, bool checked)
{
    KFSDK_CALL(SetItemChecked, dialID, item, checked ? 1 : 0);
}
bool DGIsItemChecked(short dialID, short item)
{
    return KFSDK_CALL(IsItemChecked, dialID, item) != 0;
}
void DGSetItemIcon(short dialID, short item, short iconResID)
{
    KFSDK_CALL(SetItemIcon, dialID, item, iconResID);
}
short DGGetItemIcon(short dialID, short item)
{
    return KFSDK_CALL(GetItemIcon, dialID, item);
}
void DGRedrawItem(short dialID, short item)
{
    KFSDK_CALL(RedrawItem, dialID, item);
}
void DGDisableDraw(short dialID, short item)
{
    KFSDK_CALL(SetItemDraw, dialID, item, 0);
}
void DGEnableDraw(short dialID, short item)
{
    KFSDK_CALL(SetItemDraw, dialID, item, 1);
}

bool DGListSetTabFieldCount(short dialID, short item, short count)
{
    return KFSDK_CALL(ListSetTabFieldCount, dialID, item, count) != 0;
}

bool DGListSetTabFieldData(short dialID, short item, short tabIndex, short begPos, short endPos, short justFlag,
                           short truncFlag, bool hasSeparator, bool status)
{
    return KFSDK_CALL(ListSetTabFieldData, dialID, item, tabIndex, begPos, endPos, justFlag, truncFlag,
                      hasSeparator ? 1 : 0, status ? 1 : 0) != 0;
}

void DGListSetItemHeight(short dialID, short item, short height)
{
    KFSDK_CALL(ListSetItemHeight, dialID, item, height);
}

bool DGListInsertItem(short dialID, short item, short listItem)
{
    return KFSDK_CALL(ListInsertItem, dialID, item, listItem) != 0;
}

void DGListDeleteItem(short dialID, short item, short listItem)
{
    KFSDK_CALL(ListDeleteItem, dialID, item, listItem);
}

short DGListGetItemCount(short dialID, short item)
{
    return KFSDK_CALL(ListGetItemCount, dialID, item);
}

void DGListSetItemText(short dialID, short item, short listItem, const Base::UniString& text)
{
    KFSDK_CALL(ListSetTabItemText, dialID, item, listItem, 0, Units(text), Length(text));
}

void DGListSetTabItemText(short dialID, short item, short listItem, short tabIndex, const Base::UniString& text)
{
    KFSDK_CALL(ListSetTabItemText, dialID, item, listItem, tabIndex, Units(text), Length(text));
}

Base::UniString DGListGetTabItemText(short dialID, short item, short listItem, short tabIndex)
{
    UniOut out;
    KFSDK_CALL(ListGetTabItemText, dialID, item, listItem, tabIndex, out.Out());
    return out.value;
}

void DGListSetItemIcon(short dialID, short item, short listItem, HostResModule iconModule, short iconResID)
{
    KFSDK_CALL(ListSetItemIcon, dialID, item, listItem, iconModule, iconResID);
}

void DGListSelectItem(short dialID, short item, short listItem)
{
    KFSDK_CALL(ListSelectItem, dialID, item, listItem, 1);
}

void DGListDeselectItem(short dialID, short item, short listItem)
{
    KFSDK_CALL(ListSelectItem, dialID, item, listItem, 0);
}

short DGListGetSelected(short dialID, short item, short startItem)
{
    return KFSDK_CALL(ListGetSelected, dialID, item, startItem);
}

short DGAlert(short alertType, const Base::UniString& title, const Base::UniString& largeText,
              const Base::UniString& smallText, const Base::UniString& button1, const Base::UniString& button2,
              const Base::UniString& button3)
{
    const Base::UniString* texts[6] = {&title, &largeText, &smallText, &button1, &button2, &button3};
    KF_AlertTexts record{};
    for (int i = 0; i < 6; ++i) {
        record.text[i] = Units(*texts[i]);
        record.length[i] = Length(*texts[i]);
    }
    return KFSDK_CALL(Alert, alertType, &record);
}

namespace DG {

bool FileDialog::AddFilter(FTM::TypeID typeID, ExtensionOption)
{
    if (typeID == 0 || filterCount_ >= sizeof filters_ / sizeof filters_[0])
        return false;
    filters_[filterCount_++] = typeID;
    return true;
}

bool FileDialog::Invoke()
{
    Base::UniString folder;
    if (hasFolder_)
        folder_.ToPath(&folder);
    KF_FileDialogRequest request{};
    request.type = Int32(type_);
    request.title = Units(title_);
    request.titleLength = Length(title_);
    request.folder = hasFolder_ ? Units(folder) : nullptr;
    request.folderLength = hasFolder_ ? Length(folder) : 0;
    request.filters = filters_;
    request.filterCount = Int32(filterCount_);
    UniOut out;
    UInt32 filter = 0;
    if (KFSDK_CALL(FileDialog, &request, out.Out(), &filter) == 0)
        return false;
    selected_ = IO::Location(out.value);
    selectedFilter_ = filter;
    return true;
}

const IO::Location& FileDialog::GetSelectedFile(UInt32 index) const
{
    static const IO::Location none;
    return index == 0 ? selected_ : none;
}

bool FolderDialog::Invoke()
{
    Base::UniString folder;
    if (hasFolder_)
        folder_.ToPath(&folder);
    UniOut out;
    if (KFSDK_CALL(FolderDialog, Units(title_), Length(title_), hasFolder_ ? Units(folder) : nullptr,
                   hasFolder_ ? Length(folder) : 0, out.Out()) == 0)
        return false;
    chosen_ = IO::Location(out.value);
    return true;
}

} // namespace DG
