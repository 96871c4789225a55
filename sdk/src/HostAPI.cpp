// HostAPI_ calls forwarded to the host.
#include "HostAPI.hpp"

#include "SdkDetail.hpp"

#include <algorithm>

namespace {

using kfsdk::detail::Length;
using kfsdk::detail::UniOut;
using kfsdk::detail::Units;

using kfsdk::detail::ShieldErr;

KF_Err MenuTrampoline(void* cookie, std::int16_t menuResID, std::int32_t itemIndex) noexcept
{
    return ShieldErr("menu handler", [&] {
        API_MenuParams params;
        params.menuItemRef.menuResID = menuResID;
        params.menuItemRef.itemIndex = itemIndex;
        return reinterpret_cast<APIMenuCommandProc*>(cookie)(&params);
    });
}

KF_Err CommandTrampoline(void* cookie, void* params, char* resultData, std::int32_t silent) noexcept
{
    return ShieldErr("module command", [&] {
        return reinterpret_cast<APIModulCommandProc*>(cookie)(static_cast<HostHandle>(params), resultData, silent != 0);
    });
}

KF_Err PaletteTrampoline(void* cookie, std::int32_t referenceID, std::int32_t messageID, std::int64_t param) noexcept
{
    return ShieldErr("palette handler", [&] {
        const auto proc = reinterpret_cast<APIPaletteControlCallBackProc*>(cookie);
        return proc ? proc(referenceID, messageID, param) : NoError;
    });
}

KF_ModulID ToHost(const API_ModulID& id)
{
    return KF_ModulID{id.developerID, id.localID};
}

// Collects every location a list answer names.
struct LocationList {
    std::vector<Base::UniString> paths;
    KF_StringOut out{&LocationList::Sink, this};
    static void Sink(void* self, const KF_UChar* units, std::int32_t length) noexcept
    {
        kfsdk::detail::Shield("a list answer", false, [&] {
            static_cast<LocationList*>(self)->paths.emplace_back(reinterpret_cast<const Base::uchar_t*>(units),
                                                                 USize(length < 0 ? 0 : length));
            return true;
        });
    }
};

} // namespace

HostErrCode HostAPI_GetReleaseNumber(API_ServerApplicationInfo* info)
{
    if (!info)
        return APIERR_BADPARS;
    KF_ServerInfo host{};
    const HostErrCode err = KFSDK_CALL(GetReleaseNumber, &host);
    if (err == NoError) {
        info->serverApplication = host.serverApplication;
        info->mainVersion = host.mainVersion;
        info->releaseVersion = host.releaseVersion;
        info->buildNum = host.buildNum;
        info->platform = host.platform;
    }
    return err;
}

HostErrCode HostAPI_GetOwnLocation(IO::Location* ownFileLocation)
{
    if (!ownFileLocation)
        return APIERR_BADPARS;
    UniOut out;
    const HostErrCode err = KFSDK_CALL(GetOwnLocation, out.Out());
    if (err == NoError)
        *ownFileLocation = IO::Location(out.value);
    return err;
}

void HostAPI_KeepInMemory(bool keepInMemory)
{
    KFSDK_CALL(KeepInMemory, keepInMemory ? 1 : 0);
}

HostErrCode HostAPI_Register_Menu(short menuStrResID, short promptStrResID, APIMenuCodeID menuPosCode,
                                  HostFlags menuFlags)
{
    return KFSDK_CALL(RegisterMenu, menuStrResID, promptStrResID, Int32(menuPosCode), menuFlags);
}

HostErrCode HostAPI_Register_BuiltInLibrary()
{
    return KFSDK_CALL(RegisterBuiltInLibrary);
}

HostErrCode HostAPI_Register_SupportedService(HostFourCC cmdID, Int32 cmdVersion)
{
    return KFSDK_CALL(RegisterSupportedService, cmdID, cmdVersion);
}

HostErrCode HostAPI_Install_MenuHandler(short menuStrResID, APIMenuCommandProc* handlerProc)
{
    if (!handlerProc)
        return APIERR_BADPARS;
    return KFSDK_CALL(InstallMenuHandler, menuStrResID, &MenuTrampoline, reinterpret_cast<void*>(handlerProc));
}

HostErrCode HostAPI_Install_ModulCommandHandler(HostFourCC cmdID, Int32 cmdVersion, APIModulCommandProc* handlerProc)
{
    if (!handlerProc)
        return APIERR_BADPARS;
    return KFSDK_CALL(InstallModulCommandHandler, cmdID, cmdVersion, &CommandTrampoline,
                      reinterpret_cast<void*>(handlerProc));
}

HostErrCode HostAPI_Command_Test(const API_ModulID* mdid, HostFourCC cmdID, Int32 cmdVersion)
{
    if (!mdid)
        return APIERR_BADPARS;
    const KF_ModulID id = ToHost(*mdid);
    return KFSDK_CALL(CommandTest, &id, cmdID, cmdVersion);
}

HostErrCode HostAPI_Command_Call(const API_ModulID* mdid, HostFourCC cmdID, Int32 cmdVersion, HostHandle params,
                                 HostPtr resultData, bool silentMode)
{
    if (!mdid)
        return APIERR_BADPARS;
    const KF_ModulID id = ToHost(*mdid);
    return KFSDK_CALL(CommandCall, &id, cmdID, cmdVersion, static_cast<void*>(params), resultData, silentMode ? 1 : 0);
}

HostErrCode HostAPI_GetOwnModulID(API_ModulID* mdid)
{
    if (!mdid)
        return APIERR_BADPARS;
    KF_ModulID id{};
    const HostErrCode err = KFSDK_CALL(GetOwnModulID, &id);
    if (err == NoError) {
        mdid->developerID = id.developerID;
        mdid->localID = id.localID;
    }
    return err;
}

HostErrCode HostAPI_RegisterModelessWindow(Int32 referenceID, APIPaletteControlCallBackProc* callBackProc,
                                           HostFlags controlFlags, const API_Guid& paletteGuid)
{
    return KFSDK_CALL(RegisterModelessWindow, referenceID, &PaletteTrampoline, reinterpret_cast<void*>(callBackProc),
                      controlFlags, paletteGuid.time_low, paletteGuid.rest);
}

HostErrCode HostAPI_UnregisterModelessWindow(Int32 referenceID)
{
    return KFSDK_CALL(UnregisterModelessWindow, referenceID);
}

HostResModule HostAPI_UseOwnResModule()
{
    return KFSDK_CALL(UseOwnResModule);
}
void HostAPI_ResetResModule(HostResModule previous)
{
    KFSDK_CALL(ResetResModule, previous);
}
HostResModule HostAPI_GetOwnResModule()
{
    return KFSDK_CALL(GetOwnResModule);
}

bool HostAPI_Resource_GetLocUStr(Base::UniString* result, short resID, short index)
{
    if (!result)
        return false;
    UniOut out;
    if (KFSDK_CALL(GetResString, resID, index, out.Out()) == 0)
        return false;
    *result = out.value;
    return true;
}

bool HostAPI_Resource_GetFixStr(char* result, UInt32 size, short resID, short index)
{
    if (!result || size == 0)
        return false;
    UniOut out;
    if (KFSDK_CALL(GetResString, resID, index, out.Out()) == 0)
        return false;
    kfsdk::detail::CopyTerminated(kfsdk::detail::ToAppBytes(out.value), result, size);
    return true;
}

HostErrCode HostAPI_Interface(API_InterfaceID code, void* par1, void* par2)
{
    switch (code) {
    case HostOp_GetMenuItemFlags: {
        const auto* ref = static_cast<const API_MenuItemRef*>(par1);
        auto* flags = static_cast<HostFlags*>(par2);
        if (!ref || !flags)
            return APIERR_BADPARS;
        return KFSDK_CALL(GetMenuItemFlags, ref->menuResID, ref->itemIndex, flags);
    }
    case HostOp_SetMenuItemFlags: {
        const auto* ref = static_cast<const API_MenuItemRef*>(par1);
        const auto* flags = static_cast<const HostFlags*>(par2);
        if (!ref || !flags)
            return APIERR_BADPARS;
        return KFSDK_CALL(SetMenuItemFlags, ref->menuResID, ref->itemIndex, *flags);
    }
    default:
        return kfsdk::detail::Table() ? APIERR_NOTSUPPORTED : APIERR_GENERAL;
    }
}

HostErrCode HostAPI_Environment(API_EnvironmentID code, void* par1, void*)
{
    switch (code) {
    case HostEnv_GetLibraries: {
        auto* list = static_cast<API_LibraryList*>(par1);
        if (!list)
            return APIERR_BADPARS;
        LocationList paths;
        Int32 special = 0;
        const HostErrCode err = KFSDK_CALL(GetLibraries, &paths.out, &special);
        if (err != NoError)
            return err;
        HostHandle handle = BMAllocateHandle(HostSize(paths.paths.size() * sizeof(IO::Location*)), BMFlagClear, 0);
        if (!handle)
            return APIERR_GENERAL;
        auto** locations = reinterpret_cast<IO::Location**>(*handle);
        for (std::size_t i = 0; i < paths.paths.size(); ++i)
            locations[i] = new IO::Location(paths.paths[i]);
        list->count = Int32(paths.paths.size());
        list->specialIndex = special;
        list->locations = handle;
        return NoError;
    }
    case HostEnv_AddLibraries: {
        const auto* folder = static_cast<const IO::Location*>(par1);
        Base::UniString path;
        if (!folder || folder->ToPath(&path) != NoError)
            return APIERR_BADPARS;
        return KFSDK_CALL(AddLibrary, Units(path), Length(path));
    }
    case HostEnv_Project: {
        auto* info = static_cast<API_ProjectInfo*>(par1);
        if (!info)
            return APIERR_BADPARS;
        KF_ProjectRecord record{1, 0};
        UniOut location;
        UniOut team;
        UniOut name;
        const HostErrCode err = KFSDK_CALL(GetProjectInfo, &record, location.Out(), team.Out(), name.Out());
        if (err != NoError)
            return err;
        info->untitled = record.untitled != 0;
        info->teamwork = record.teamwork != 0;
        info->location = location.answered ? new IO::Location(location.value) : nullptr;
        info->location_team = team.answered ? new IO::Location(team.value) : nullptr;
        info->projectName = name.value;
        return NoError;
    }
    case HostEnv_GetRenderingSets: {
        auto* sets = static_cast<API_RenderingSets*>(par1);
        if (!sets)
            return APIERR_BADPARS;
        return KFSDK_CALL(GetRenderingSets, &sets->currentEngine, &sets->engineCount);
    }
    case HostEnv_ChangeRenderingSets: {
        const auto* sets = static_cast<const API_RenderingSets*>(par1);
        if (!sets)
            return APIERR_BADPARS;
        return KFSDK_CALL(ChangeRenderingSets, sets->currentEngine);
    }
    default:
        return kfsdk::detail::Table() ? APIERR_NOTSUPPORTED : APIERR_GENERAL;
    }
}

Int32 EXPGetRendNum()
{
    return KFSDK_CALL(GetRendererCount);
}

bool EXPGetRendMenuStr(Int32 engineNumber, char* buffer, UInt32 size)
{
    if (!buffer || size == 0)
        return false;
    UniOut out;
    if (KFSDK_CALL(GetRendererMenuText, engineNumber, out.Out()) == 0)
        return false;
    kfsdk::detail::CopyTerminated(kfsdk::detail::ToAppBytes(out.value), buffer, size);
    return true;
}

namespace {

KF_LibPartRecord ToHost(const API_LibPart& part)
{
    KF_LibPartRecord record{};
    record.typeID = Int32(part.typeID);
    record.index = part.index;
    std::copy(std::begin(part.docu_UName), std::end(part.docu_UName), record.name);
    record.name[255] = 0;
    record.missingDef = part.missingDef ? 1 : 0;
    record.isPlaceable = part.isPlaceable ? 1 : 0;
    return record;
}

void FromHost(const KF_LibPartRecord& record, UniOut& location, API_LibPart& part)
{
    part.typeID = API_LibTypeID(record.typeID);
    part.index = record.index;
    std::copy(std::begin(record.name), std::end(record.name), part.docu_UName);
    part.docu_UName[255] = 0;
    part.missingDef = record.missingDef != 0;
    part.isPlaceable = record.isPlaceable != 0;
    part.location = location.answered ? new IO::Location(location.value) : nullptr;
}

} // namespace

HostErrCode HostAPI_LibPart_Search(API_LibPart* ancestor, bool createIfMissing, bool onlyPlaceable)
{
    if (!ancestor)
        return APIERR_BADPARS;
    KF_LibPartRecord record = ToHost(*ancestor);
    UniOut location;
    const HostErrCode err =
        KFSDK_CALL(LibPartSearch, &record, createIfMissing ? 1 : 0, onlyPlaceable ? 1 : 0, location.Out());
    if (err == NoError || err == APIERR_MISSINGDEF)
        FromHost(record, location, *ancestor);
    return err;
}

HostErrCode HostAPI_LibPart_Get(API_LibPart* libPart)
{
    if (!libPart)
        return APIERR_BADPARS;
    KF_LibPartRecord record = ToHost(*libPart);
    UniOut location;
    const HostErrCode err = KFSDK_CALL(LibPartGet, &record, location.Out());
    if (err == NoError)
        FromHost(record, location, *libPart);
    return err;
}
