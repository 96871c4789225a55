// Where the maker's versions file, update page and web site are. The host may point the update
// server elsewhere (a loopback server in tests and demos); the web site then lives there too.
#include "KF_AddonUpdateState.hpp"

#include "KF/KF_AddonConstants.hpp"
#include "KF/KF_Dialog.hpp"
#include "KF/KF_Language.hpp"
#include "kfsdk/HostServices.hpp"

namespace kf::detail {
namespace {

// "http://server" without a trailing "/", or the null string without a host override.
KF_String OverrideBase()
{
    const char* server = HostServices::UpdateServer();
    if (server == nullptr || server[0] == 0)
        return KF_String();
    KF_String base(server);
    if (base.IndexOf(KF_String("://"), 0) == KF_String::NotFound)
        base = "http://" + base;
    while (base.EndsWith(KF_String("/")))
        base = base.Substring(0, base.GetLength() - 1);
    return base;
}

KF_String ServerBase()
{
    KF_String base = OverrideBase();
    if (base.IsNull())
        base = KF_String("http://") + sett_ADDON_UPDATE_SERVER;
    return base;
}

} // namespace

KF_String KF_AddonUpdate_VersionsFileURL()
{
    return ServerBase() + "/update_plugins/versions16.txt";
}

KF_String KF_AddonUpdate_UpdatePageURL()
{
    return ServerBase() + "/update_plugins/updates.htm";
}

KF_String KF_AddonUpdate_WebSiteURL()
{
    const KF_String base = OverrideBase();
    return base.IsNull() ? KF_String(sett_ADDON_WEB_SITE) : base + "/";
}

KF_String KF_AddonUpdate_String(long index)
{
    return KF_Resource_GetString(static_cast<short>(KF_Resource_FrameworkStrings + gKF_Language), index, true);
}

void KF_AddonUpdate_ShowError()
{
    KF_Dialog::ShowAlert(-1, KF_String(""), KF_AddonUpdate_String(33), KF_String(""));
}

} // namespace kf::detail
