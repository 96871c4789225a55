// The host's dialog manager as an add-on sees it. Dialogs, items and list boxes live in the host;
// the add-on gets a dialog identifier and a callback that the host calls with messages.
#pragma once

#include "HostTypes.hpp"
#include "HostUniString.hpp"
#include "IO.hpp"
#include "FTM.hpp"

using DGUserData = long long;
using DGMessageData = long long;

// The dialog callback: message, dialog id, item, the user data given at creation, message data.
// For DG_MSG_CLOSE the item is the item the dialog closes with; the callback's answer is the
// dialog's result. For DG_MSG_CLICK answering a non-zero item closes the dialog with it.
using DGDialCallBack = short (*)(short message, short dialID, short item, DGUserData userData, DGMessageData msgData);

enum : short {
    DG_MSG_NULL = 0,
    DG_MSG_INIT = 1,
    DG_MSG_CLOSEREQUEST = 2,
    DG_MSG_CLOSE = 3,
    DG_MSG_CLICK = 4,
    DG_MSG_CHANGE = 5, // list selection or edit text changed; item is the changed item
    DG_MSG_DOUBLECLICK = 6,
    DG_MSG_FOCUS = 7
};

enum : short {
    DG_ALL_ITEMS = 0,   // with list calls: every row; with DGRedrawItem: the whole dialog
    DG_NO_ITEM = -1,    // DGSetFocus with this clears the keyboard focus
    DG_LIST_TOP = -1,   // DGListInsertItem position: before the first row
    DG_LIST_BOTTOM = -2 // DGListInsertItem position: after the last row
};

enum : short { DG_CLIENT = 0, DG_FRAME = 1 };                                        // DGSetDialogSize rect type
enum : short { DG_TOPLEFT = 0, DG_CENTER = 1 };                                      // DGSetDialogSize grow anchor
enum : short { DG_IS_LEFT = 0, DG_IS_CENTER = 1, DG_IS_RIGHT = 2 };                  // tab field justification
enum : short { DG_IS_NOTRUNC = 0, DG_IS_TRUNCEND = 4096, DG_IS_TRUNCMIDDLE = 8192 }; // tab field truncation

// Modal dialog: runs until closed, returns the item it was closed with.
short DGModalDialog(HostResModule resModule, short resID, HostResModule iconResModule, DGDialCallBack callback,
                    DGUserData userData);

// Modeless dialog: created hidden, returns its dialog id (0 on failure).
short DGModelessInit(HostResModule resModule, short resID, HostResModule iconResModule, DGDialCallBack callback,
                     DGUserData userData, short refID);
void DGShowModelessDialog(short dialID, short behind = 0);
void DGModelessClose(short dialID);
bool DGIsDialogOpen(short dialID);

void DGSetDialogTitle(short dialID, const Base::UniString& title);
Base::UniString DGGetDialogTitle(short dialID);
void DGSetDialogSize(short dialID, short rectType, short hSize, short vSize, short growType, bool redraw);
void DGSetFocus(short dialID, short item);
void DGBeginMoveGrowItems(short dialID);
void DGEndMoveGrowItems(short dialID);

void DGSetItemText(short dialID, short item, const Base::UniString& text);
Base::UniString DGGetItemText(short dialID, short item);
void DGShowItem(short dialID, short item);
void DGHideItem(short dialID, short item);
void DGEnableItem(short dialID, short item);
void DGDisableItem(short dialID, short item);
bool DGIsItemVisible(short dialID, short item);
bool DGIsItemEnabled(short dialID, short item);
// Check boxes: the state the user toggles; setting it sends no message. Other items are never
// checked, and setting them changes nothing. Needs a host of table 2.2: an older one answers false.
void DGSetItemChecked(short dialID, short item, bool checked);
bool DGIsItemChecked(short dialID, short item);
// Icon items: the icon (of the dialog's resource module) they show; 0 for other items. Needs a
// host of table 2.2.
void DGSetItemIcon(short dialID, short item, short iconResID);
short DGGetItemIcon(short dialID, short item);
void DGRedrawItem(short dialID, short item);
void DGDisableDraw(short dialID, short item); // list: stop drawing while rows are rebuilt
void DGEnableDraw(short dialID, short item);

// List boxes: rows are 1-based.
bool DGListSetTabFieldCount(short dialID, short item, short count);
bool DGListSetTabFieldData(short dialID, short item, short tabIndex, short begPos, short endPos, short justFlag,
                           short truncFlag, bool hasSeparator, bool status);
void DGListSetItemHeight(short dialID, short item, short height);
bool DGListInsertItem(short dialID, short item, short listItem); // DG_LIST_BOTTOM appends
void DGListDeleteItem(short dialID, short item, short listItem); // DG_ALL_ITEMS: every row
short DGListGetItemCount(short dialID, short item);
void DGListSetItemText(short dialID, short item, short listItem, const Base::UniString& text);
void DGListSetTabItemText(short dialID, short item, short listItem, short tabIndex, const Base::UniString& text);
Base::UniString DGListGetTabItemText(short dialID, short item, short listItem, short tabIndex);
void DGListSetItemIcon(short dialID, short item, short listItem, HostResModule iconModule, short iconResID);
void DGListSelectItem(short dialID, short item, short listItem);
void DGListDeselectItem(short dialID, short item, short listItem);  // DG_ALL_ITEMS: every row
short DGListGetSelected(short dialID, short item, short startItem); // first selected row after startItem, 0 if none

// Alert with up to three texts and up to three buttons; returns the 1-based button chosen.
short DGAlert(short alertType, const Base::UniString& title, const Base::UniString& largeText,
              const Base::UniString& smallText, const Base::UniString& button1,
              const Base::UniString& button2 = Base::UniString(), const Base::UniString& button3 = Base::UniString());

namespace DG {

// A system dialog (file or folder chooser) that the host shows.
class SystemDialog {
public:
    virtual ~SystemDialog() = default;
    void SetTitle(const Base::UniString& title) { title_ = title; }
    const Base::UniString& GetTitle() const { return title_; }
    // Shows the dialog; false when the user cancels or the host cannot show it.
    virtual bool Invoke() = 0;

protected:
    Base::UniString title_;
};

class FileDialog : public SystemDialog {
public:
    enum Type { OpenFile = 0, OpenMultiFile = 1, Save = 2 };
    enum ExtensionOption { NoExtensionOption = 0 };

    explicit FileDialog(Type type) : type_(type) {}
    bool AddFilter(FTM::TypeID typeID, ExtensionOption option = NoExtensionOption);
    void SetFolder(const IO::Location& folder)
    {
        folder_ = folder;
        hasFolder_ = true;
    }
    bool Invoke() override;
    UInt32 GetSelectionCount() const { return selected_.IsEmpty() ? 0 : 1; }
    const IO::Location& GetSelectedFile(UInt32 index) const;
    // Position (0-based) of the filter the user had chosen.
    UInt32 GetSelectedFilter() const { return selectedFilter_; }

private:
    Type type_;
    FTM::TypeID filters_[32] = {};
    UInt32 filterCount_ = 0;
    IO::Location folder_;
    bool hasFolder_ = false;
    IO::Location selected_;
    UInt32 selectedFilter_ = 0;
};

class FolderDialog : public SystemDialog {
public:
    FolderDialog() = default;
    void SetFolder(const IO::Location& folder)
    {
        folder_ = folder;
        hasFolder_ = true;
    }
    bool Invoke() override;
    const IO::Location& GetFolder() const { return chosen_; }

private:
    IO::Location folder_;
    bool hasFolder_ = false;
    IO::Location chosen_;
};

} // namespace DG
