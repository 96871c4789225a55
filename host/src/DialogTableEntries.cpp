// Table entries of the dialog manager, alerts, system dialogs and file types.
#include "TableEntries.hpp"

#include <algorithm>

namespace kfhost::detail {
namespace {

Dialog* Find(KF_HostContext* c, std::int16_t dialID)
{
    return HostOf(c).Dialogs().Find(dialID);
}

DialogItem* FindItem(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    Dialog* d = Find(c, dialID);
    return d ? d->Item(item) : nullptr;
}

// The item when it is of that kind.
DialogItem* FindItemOf(KF_HostContext* c, std::int16_t dialID, std::int16_t item, ItemKind kind)
{
    DialogItem* it = FindItem(c, dialID, item);
    return it && it->kind == kind ? it : nullptr;
}

DialogItem* FindList(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    return FindItemOf(c, dialID, item, ItemKind::ListBox);
}

void Touch(KF_HostContext* c, std::int16_t dialID)
{
    if (Dialog* d = Find(c, dialID))
        HostOf(c).Dialogs().Touch(*d);
}

// An item's visible or enabled state: a change redraws the dialog; a missing item reads as off.
void SetItemFlag(KF_HostContext* c, std::int16_t dialID, std::int16_t item, bool DialogItem::*flag, std::int32_t on)
{
    if (DialogItem* it = FindItem(c, dialID, item)) {
        it->*flag = on != 0;
        Touch(c, dialID);
    }
}

std::int32_t ItemFlag(KF_HostContext* c, std::int16_t dialID, std::int16_t item, bool DialogItem::*flag)
{
    DialogItem* it = FindItem(c, dialID, item);
    return it && it->*flag ? 1 : 0;
}

// The module a dialog comes from: the one named, else the current one.
const DialogTemplate* Template(KF_HostContext* c, std::int32_t resModule, std::int16_t resID, AddOn** owner)
{
    Host& host = HostOf(c);
    AddOn* module = host.ModuleOwner(resModule);
    if (!module)
        module = host.ModuleOwner(host.CurrentResModule());
    *owner = module;
    return module ? module->resources.Dialog(resID) : nullptr;
}

constexpr std::int16_t kAllItems = 0;
constexpr std::int16_t kListTop = -1;
constexpr std::int16_t kListBottom = -2;

ListRow* Row(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list || listItem < 1 || listItem > std::int16_t(list->rows.size()))
        return nullptr;
    return &list->rows[std::size_t(listItem - 1)];
}

} // namespace

namespace entry {

std::int16_t ModalDialog(KF_HostContext* c, std::int32_t resModule, std::int16_t resID, std::int32_t,
                         KF_DialogProc proc, void* cookie, std::int64_t userData)
{
    AddOn* owner = nullptr;
    const DialogTemplate* tmpl = Template(c, resModule, resID, &owner);
    if (!tmpl) {
        HostOf(c).Warn("no dialog resource " + std::to_string(resID) + " in the current module");
        return 0;
    }
    return HostOf(c).Dialogs().Modal(Self(c), owner->resModule, *tmpl, proc, cookie, userData);
}

std::int16_t ModelessInit(KF_HostContext* c, std::int32_t resModule, std::int16_t resID, std::int32_t,
                          KF_DialogProc proc, void* cookie, std::int64_t userData, std::int16_t refID)
{
    AddOn* owner = nullptr;
    const DialogTemplate* tmpl = Template(c, resModule, resID, &owner);
    if (!tmpl) {
        HostOf(c).Warn("no dialog resource " + std::to_string(resID) + " in the current module");
        return 0;
    }
    return HostOf(c).Dialogs().ModelessInit(Self(c), owner->resModule, *tmpl, proc, cookie, userData, refID);
}

void ShowModeless(KF_HostContext* c, std::int16_t dialID, std::int16_t)
{
    HostOf(c).Dialogs().ShowModeless(dialID);
}

void ModelessClose(KF_HostContext* c, std::int16_t dialID)
{
    // Closed from its own click handler: it closes with the item clicked.
    if (Dialog* d = Find(c, dialID))
        HostOf(c).Dialogs().Close(dialID, d->clicking);
}

std::int32_t IsDialogOpen(KF_HostContext* c, std::int16_t dialID)
{
    Dialog* d = Find(c, dialID);
    return d && d->IsOpen() ? 1 : 0;
}

void SetDialogTitle(KF_HostContext* c, std::int16_t dialID, const KF_UChar* text, std::int32_t length)
{
    if (Dialog* d = Find(c, dialID)) {
        d->title = Text(text, length);
        Touch(c, dialID);
    }
}

std::int32_t GetDialogTitle(KF_HostContext* c, std::int16_t dialID, const KF_StringOut* out)
{
    Dialog* d = Find(c, dialID);
    if (!d)
        return 0;
    Emit(out, d->title);
    return 1;
}

void SetDialogSize(KF_HostContext* c, std::int16_t dialID, std::int16_t, std::int16_t hSize, std::int16_t vSize,
                   std::int16_t, std::int32_t)
{
    if (Dialog* d = Find(c, dialID)) {
        d->width = hSize;
        d->height = vSize;
        Touch(c, dialID);
    }
}

void SetFocus(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    if (Dialog* d = Find(c, dialID))
        d->focus = item;
}

void MoveGrowItems(KF_HostContext* c, std::int16_t dialID, std::int32_t begin)
{
    if (!begin)
        Touch(c, dialID);
}

void SetItemText(KF_HostContext* c, std::int16_t dialID, std::int16_t item, const KF_UChar* text, std::int32_t length)
{
    if (DialogItem* it = FindItem(c, dialID, item)) {
        it->text = Text(text, length);
        Touch(c, dialID);
    }
}

std::int32_t GetItemText(KF_HostContext* c, std::int16_t dialID, std::int16_t item, const KF_StringOut* out)
{
    DialogItem* it = FindItem(c, dialID, item);
    if (!it)
        return 0;
    Emit(out, it->text);
    return 1;
}

void SetItemVisible(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int32_t visible)
{
    SetItemFlag(c, dialID, item, &DialogItem::visible, visible);
}

std::int32_t IsItemVisible(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    return ItemFlag(c, dialID, item, &DialogItem::visible);
}

void SetItemEnabled(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int32_t enabled)
{
    SetItemFlag(c, dialID, item, &DialogItem::enabled, enabled);
}

std::int32_t IsItemEnabled(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    return ItemFlag(c, dialID, item, &DialogItem::enabled);
}

void SetItemChecked(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int32_t checked)
{
    if (FindItemOf(c, dialID, item, ItemKind::CheckBox))
        SetItemFlag(c, dialID, item, &DialogItem::checked, checked);
}

// Only a check box is ever checked (the resources and SetItemChecked see to it).
std::int32_t IsItemChecked(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    return ItemFlag(c, dialID, item, &DialogItem::checked);
}

void SetItemIcon(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t iconResID)
{
    if (DialogItem* it = FindItemOf(c, dialID, item, ItemKind::Icon)) {
        it->iconResID = iconResID;
        Touch(c, dialID);
    }
}

std::int16_t GetItemIcon(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    const DialogItem* it = FindItemOf(c, dialID, item, ItemKind::Icon);
    return it ? it->iconResID : std::int16_t(0);
}

void RedrawItem(KF_HostContext* c, std::int16_t dialID, std::int16_t)
{
    Touch(c, dialID);
}

void SetItemDraw(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int32_t drawing)
{
    if (DialogItem* it = FindItem(c, dialID, item)) {
        it->drawing = drawing != 0;
        if (it->drawing)
            Touch(c, dialID);
    }
}

std::int32_t ListSetTabFieldCount(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t count)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list || count < 0)
        return 0;
    list->tabs.resize(std::size_t(count));
    return 1;
}

std::int32_t ListSetTabFieldData(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t tabIndex,
                                 std::int16_t begPos, std::int16_t endPos, std::int16_t justFlag,
                                 std::int16_t truncFlag, std::int32_t hasSeparator, std::int32_t status)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list || tabIndex < 1 || tabIndex > std::int16_t(list->tabs.size()))
        return 0;
    list->tabs[std::size_t(tabIndex - 1)] =
        TabField{begPos, endPos, justFlag, truncFlag, hasSeparator != 0, status != 0};
    return 1;
}

void ListSetItemHeight(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t height)
{
    if (DialogItem* list = FindList(c, dialID, item))
        list->rowHeight = height;
}

std::int32_t ListInsertItem(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list)
        return 0;
    const auto count = std::int16_t(list->rows.size());
    std::size_t at = 0;
    if (listItem == kListBottom)
        at = list->rows.size();
    else if (listItem == kListTop)
        at = 0;
    else if (listItem >= 1 && listItem <= count + 1)
        at = std::size_t(listItem - 1);
    else
        return 0;
    if (count == 32767)
        return 0;
    list->rows.insert(list->rows.begin() + std::ptrdiff_t(at), ListRow{});
    Touch(c, dialID);
    return 1;
}

void ListDeleteItem(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list)
        return;
    if (listItem == kAllItems)
        list->rows.clear();
    else if (listItem >= 1 && listItem <= std::int16_t(list->rows.size()))
        list->rows.erase(list->rows.begin() + (listItem - 1));
    Touch(c, dialID);
}

std::int16_t ListGetItemCount(KF_HostContext* c, std::int16_t dialID, std::int16_t item)
{
    DialogItem* list = FindList(c, dialID, item);
    return list ? std::int16_t(list->rows.size()) : std::int16_t(0);
}

void ListSetTabItemText(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem,
                        std::int16_t tabIndex, const KF_UChar* text, std::int32_t length)
{
    ListRow* row = Row(c, dialID, item, listItem);
    if (!row || tabIndex < 0)
        return;
    if (row->texts.size() <= std::size_t(tabIndex))
        row->texts.resize(std::size_t(tabIndex) + 1);
    row->texts[std::size_t(tabIndex)] = Text(text, length);
    Touch(c, dialID);
}

std::int32_t ListGetTabItemText(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem,
                                std::int16_t tabIndex, const KF_StringOut* out)
{
    ListRow* row = Row(c, dialID, item, listItem);
    if (!row || tabIndex < 0)
        return 0;
    Emit(out, std::size_t(tabIndex) < row->texts.size() ? row->texts[std::size_t(tabIndex)] : std::u16string());
    return 1;
}

void ListSetItemIcon(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem, std::int32_t,
                     std::int16_t iconResID)
{
    if (ListRow* row = Row(c, dialID, item, listItem)) {
        row->iconResID = iconResID;
        Touch(c, dialID);
    }
}

// Lists select one row at a time.
void ListSelectItem(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t listItem,
                    std::int32_t select)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list)
        return;
    if (listItem == kAllItems) {
        if (!select)
            for (auto& r : list->rows)
                r.selected = false;
    } else if (listItem >= 1 && listItem <= std::int16_t(list->rows.size())) {
        if (select)
            for (auto& r : list->rows)
                r.selected = false;
        list->rows[std::size_t(listItem - 1)].selected = select != 0;
    }
    Touch(c, dialID);
}

std::int16_t ListGetSelected(KF_HostContext* c, std::int16_t dialID, std::int16_t item, std::int16_t startItem)
{
    DialogItem* list = FindList(c, dialID, item);
    if (!list)
        return 0;
    for (std::size_t i = std::size_t(std::max<std::int16_t>(startItem, 0)); i < list->rows.size(); ++i)
        if (list->rows[i].selected)
            return std::int16_t(i + 1);
    return 0;
}

std::int16_t Alert(KF_HostContext* c, std::int16_t alertType, const KF_AlertTexts* texts)
{
    AlertRequest request;
    request.type = alertType;
    if (texts)
        for (int i = 0; i < 6; ++i)
            request.texts[i] = Text(texts->text[i], texts->length[i]);
    return HostOf(c).Dialogs().Backend().Alert(request);
}

std::int32_t FileDialog(KF_HostContext* c, const KF_FileDialogRequest* request, const KF_StringOut* out,
                        std::uint32_t* selectedFilter)
{
    if (!request)
        return 0;
    FileRequest r;
    r.type = request->type;
    r.title = Text(request->title, request->titleLength);
    r.folder = Text(request->folder, request->folderLength);
    for (std::int32_t i = 0; request->filters && i < request->filterCount; ++i)
        r.filters.push_back(request->filters[i]);
    const auto answer = HostOf(c).Dialogs().Backend().ChooseFile(r);
    if (!answer)
        return 0;
    Emit(out, answer->path);
    if (selectedFilter)
        *selectedFilter = answer->filter;
    return 1;
}

std::int32_t FolderDialog(KF_HostContext* c, const KF_UChar* title, std::int32_t titleLength, const KF_UChar* folder,
                          std::int32_t folderLength, const KF_StringOut* out)
{
    FolderRequest r{Text(title, titleLength), Text(folder, folderLength)};
    const auto answer = HostOf(c).Dialogs().Backend().ChooseFolder(r);
    if (!answer)
        return 0;
    Emit(out, *answer);
    return 1;
}

// The same type added twice gets the same identifier back.
std::uint32_t AddFileType(KF_HostContext* c, const KF_UChar* managerName, std::int32_t managerNameLength,
                          const KF_FileTypeRecord* type, std::uint32_t)
{
    if (!type)
        return 0;
    RegisteredFileType t;
    t.manager = Text(managerName, managerNameLength);
    t.description = Text(type->description, type->descriptionLength);
    t.extension = Text(type->extension, type->extensionLength);
    t.creator = type->creator;
    t.macType = type->macType;
    t.iconID = type->iconID;
    t.visible = type->visible != 0;
    return HostOf(c).RegisterFileType(std::move(t));
}

} // namespace entry

} // namespace kfhost::detail
