// Table entries of registration, menus, module commands and resource modules.
#include "TableEntries.hpp"
#include "kfhost/Text.hpp"

#include <algorithm>

namespace kfhost::detail {

AddOn& Self(KF_HostContext* context)
{
    return *reinterpret_cast<AddOn*>(context);
}

std::u16string Text(const KF_UChar* units, std::int32_t length)
{
    if (!units || length <= 0)
        return {};
    return std::u16string(reinterpret_cast<const char16_t*>(units), std::size_t(length));
}

void Emit(const KF_StringOut* out, std::u16string_view text)
{
    if (out && out->sink)
        out->sink(out->sinkData, reinterpret_cast<const KF_UChar*>(text.data()), std::int32_t(text.size()));
}

std::string PathOf(const KF_UChar* units, std::int32_t length)
{
    return PathBytes(Text(units, length));
}

namespace {

MenuItemState* MenuItem(KF_HostContext* c, std::int16_t menuResID, std::int32_t itemIndex)
{
    RegisteredMenu* menu = HostOf(c).FindMenu(menuResID, &Self(c)); // an add-on's own menus only
    if (!menu || itemIndex < 1 || itemIndex > std::int32_t(menu->items.size()))
        return nullptr;
    return &menu->items[std::size_t(itemIndex - 1)];
}

} // namespace

namespace entry {

std::int32_t GetTextEncoding(KF_HostContext* c)
{
    return HostOf(c).Config().textEncoding;
}

KF_Err GetReleaseNumber(KF_HostContext* c, KF_ServerInfo* info)
{
    if (!info)
        return KF_APIERR_BADPARS;
    *info = HostOf(c).ServerInfo();
    return KF_NOERROR;
}

KF_Err GetOwnLocation(KF_HostContext* c, const KF_StringOut* out)
{
    const AddOn& self = Self(c);
    if (self.bundlePath.empty())
        return KF_APIERR_GENERAL;
    Emit(out, PathText(self.bundlePath.string()));
    return KF_NOERROR;
}

KF_Err GetOwnModulID(KF_HostContext* c, KF_ModulID* out)
{
    if (!out)
        return KF_APIERR_BADPARS;
    out->developerID = Self(c).moduleID.developerID;
    out->localID = Self(c).moduleID.localID;
    return KF_NOERROR;
}

void KeepInMemory(KF_HostContext* c, std::int32_t keep)
{
    Self(c).keepInMemory = keep != 0;
}

KF_Err RegisterMenu(KF_HostContext* c, std::int16_t menuResID, std::int16_t promptResID, std::int32_t posCode,
                    std::uint32_t flags)
{
    AddOn& self = Self(c);
    const MenuTemplate* tmpl = self.resources.Menu(menuResID);
    if (!tmpl)
        return KF_APIERR_BADID;
    RegisteredMenu menu;
    menu.resID = menuResID;
    menu.promptResID = promptResID;
    menu.posCode = posCode;
    menu.flags = flags;
    menu.owner = &self;
    menu.title = tmpl->title;
    for (const MenuItemTemplate& item : tmpl->items)
        menu.items.push_back(MenuItemState{item.text, (item.disabled ? kMenuItemDisabled : 0u) |
                                                          (item.checked ? kMenuItemChecked : 0u)});
    self.host->RegisterMenu(std::move(menu));
    return KF_NOERROR;
}

KF_Err RegisterSupportedService(KF_HostContext* c, std::uint32_t cmd, std::int32_t version)
{
    AddOn& self = Self(c);
    if (!self.Serves(cmd, version))
        self.services.emplace_back(cmd, version);
    return KF_NOERROR;
}

KF_Err InstallMenuHandler(KF_HostContext* c, std::int16_t menuResID, KF_MenuProc proc, void* cookie)
{
    if (!proc)
        return KF_APIERR_BADPARS;
    Self(c).menuHandlers[menuResID] = MenuHandler{proc, cookie};
    return KF_NOERROR;
}

KF_Err InstallModulCommandHandler(KF_HostContext* c, std::uint32_t cmd, std::int32_t version, KF_ModulCommandProc proc,
                                  void* cookie)
{
    if (!proc)
        return KF_APIERR_BADPARS;
    Self(c).commandHandlers[{cmd, version}] = CommandHandler{proc, cookie};
    return KF_NOERROR;
}

KF_Err CommandTest(KF_HostContext* c, const KF_ModulID* mdid, std::uint32_t cmd, std::int32_t version)
{
    if (!mdid)
        return KF_APIERR_BADPARS;
    const ModuleID target{mdid->developerID, mdid->localID};
    bool known = false;
    for (const auto& a : HostOf(c).AddOns()) {
        if (!a->initialized || !(a->moduleID == target))
            continue;
        known = true;
        if (a->Serves(cmd, version))
            return KF_NOERROR;
    }
    return known ? KF_APIERR_MODULCMDNOTSUPPORTED : KF_APIERR_MODULNOTINSTALLED;
}

KF_Err CommandCall(KF_HostContext* c, const KF_ModulID* mdid, std::uint32_t cmd, std::int32_t version, void* params,
                   char* resultData, std::int32_t silent)
{
    if (!mdid)
        return KF_APIERR_BADPARS;
    const ModuleID target{mdid->developerID, mdid->localID};
    return HostOf(c).ModuleCommand({cmd, version, &target, params, resultData, silent != 0}).code;
}

KF_Err RegisterModelessWindow(KF_HostContext* c, std::int32_t referenceID, KF_PaletteProc, void*, std::uint32_t,
                              std::uint64_t, std::uint64_t)
{
    HostOf(c).RegisterModelessWindow(referenceID, Self(c));
    return KF_NOERROR;
}

KF_Err UnregisterModelessWindow(KF_HostContext* c, std::int32_t referenceID)
{
    return HostOf(c).UnregisterModelessWindow(referenceID) ? KF_NOERROR : KF_APIERR_BADID;
}

KF_Err GetMenuItemFlags(KF_HostContext* c, std::int16_t menuResID, std::int32_t itemIndex, std::uint32_t* flags)
{
    MenuItemState* item = MenuItem(c, menuResID, itemIndex);
    if (!item || !flags)
        return item ? KF_APIERR_BADPARS : KF_APIERR_BADID;
    *flags = item->flags;
    return KF_NOERROR;
}

KF_Err SetMenuItemFlags(KF_HostContext* c, std::int16_t menuResID, std::int32_t itemIndex, std::uint32_t flags)
{
    MenuItemState* item = MenuItem(c, menuResID, itemIndex);
    if (!item)
        return KF_APIERR_BADID;
    item->flags = flags;
    return KF_NOERROR;
}

std::int32_t UseOwnResModule(KF_HostContext* c)
{
    Host& host = HostOf(c);
    const std::int32_t previous = host.CurrentResModule();
    host.SetCurrentResModule(Self(c).resModule);
    return previous;
}

void ResetResModule(KF_HostContext* c, std::int32_t previous)
{
    HostOf(c).SetCurrentResModule(previous);
}

std::int32_t GetOwnResModule(KF_HostContext* c)
{
    return Self(c).resModule;
}

std::int32_t GetResString(KF_HostContext* c, std::int16_t resID, std::int16_t index, const KF_StringOut* out)
{
    Host& host = HostOf(c);
    // A failed lookup shows as the framework's fall-back text, so the host names it.
    const std::string which = "string list " + std::to_string(resID) + " index " + std::to_string(index) + ": ";
    AddOn* owner = host.ModuleOwner(host.CurrentResModule());
    if (!owner) {
        host.Warn("warning: " + which + "no resource module is current");
        return 0;
    }
    owner->stringsAsked.emplace(resID, index);
    const std::u16string* text = owner->resources.String(resID, index);
    if (!text) {
        host.Warn("warning: " + which + "not in the resources of " + Quote(owner->name));
        return 0;
    }
    Emit(out, *text);
    return 1;
}

} // namespace entry

} // namespace kfhost::detail
