// The menu item that switches automatic update checking, in each of the add-on's seven menus.
#include "KF/KF_AddonUpdate.hpp"

#include "HostAPI.hpp"
#include "KF/KF_AddonSettings.hpp"

namespace {

constexpr short kMenuCount = 7;

bool GetFlags(API_MenuItemRef& item, HostFlags& flags)
{
    return HostAPI_Interface(HostOp_GetMenuItemFlags, &item, &flags) == NoError;
}

void SetFlags(API_MenuItemRef& item, HostFlags& flags)
{
    HostAPI_Interface(HostOp_SetMenuItemFlags, &item, &flags);
}

API_MenuItemRef Item(short menuResID, short offset, short itemIndex)
{
    API_MenuItemRef item;
    item.menuResID = static_cast<short>(menuResID + offset);
    item.itemIndex = itemIndex;
    return item;
}

} // namespace

bool KF_AddonUpdate_SetMenuUpdateCheck(short menuResID, short itemIndex)
{
    long value = 1; // missing counts as on
    KF_AddonSettings_GetLong(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"), &value, true);
    for (short k = 0; k < kMenuCount; ++k) {
        API_MenuItemRef item = Item(menuResID, k, itemIndex);
        HostFlags flags = 0;
        if (!GetFlags(item, flags))
            continue;
        if (value == 0)
            flags &= ~API_MenuItemChecked;
        else if (value == 1)
            flags |= API_MenuItemChecked;
        SetFlags(item, flags);
    }
    return true;
}

bool KF_AddonUpdate_SwitchAutoUpdateValue(short menuResID, short itemIndex)
{
    // Each menu follows its own mark; the stored value follows the last menu read.
    for (short k = 0; k < kMenuCount; ++k) {
        API_MenuItemRef item = Item(menuResID, k, itemIndex);
        HostFlags flags = 0;
        if (!GetFlags(item, flags))
            continue;
        const bool checked = (flags & API_MenuItemChecked) != 0;
        if (checked)
            flags &= ~API_MenuItemChecked;
        else
            flags |= API_MenuItemChecked;
        KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, KF_String("AutoUpdate"),
                                     KF_String(checked ? "0" : "1"), true);
        SetFlags(item, flags);
    }
    return true;
}
