// A small add-on that exercises the host interface: menus, module commands, dialogs of every kind,
// alerts, system dialogs, timers, files and launching. Built as bundles ProbeA and ProbeB, and
// linked into in-process host tests.
#include "Probe.hpp"

#include "HostAPI.hpp"
#include "AddOnLinkage.hpp"
#include "DG.hpp"
#include "FTM.hpp"
#include "kfsdk/HostServices.hpp"
#include "MainLoop.hpp"

#include <cstdio>
#include <cstdlib>

#ifndef PROBE_NAME
#define PROBE_NAME "Host Probe"
#endif

namespace probe {
State& Get()
{
    static State state;
    return state;
}
} // namespace probe

namespace {

constexpr HostFourCC kCommand = Base::FourCC("PRBE");
constexpr short kStrings = 32610;

Base::UniString U(const char* utf8)
{
    return Base::UniString::FromUTF8(utf8);
}

Base::UniString Hex(HostErrCode code)
{
    return U(kfsdk::HexCode(code).c_str());
}

void Tell(const Base::UniString& text)
{
    DGAlert(-1, Base::UniString(), text, Base::UniString(), U("OK"));
}

Base::UniString Str(short index, short resID = kStrings)
{
    Base::UniString s;
    const HostResModule previous = HostAPI_UseOwnResModule();
    HostAPI_Resource_GetLocUStr(&s, resID, index);
    HostAPI_ResetResModule(previous);
    return s;
}

short NestedHandler(short message, short, short item, DGUserData, DGMessageData)
{
    if (message == DG_MSG_CLICK)
        return item;
    if (message == DG_MSG_CLOSE)
        return item;
    return 0;
}

short ModalHandler(short message, short dialID, short item, DGUserData, DGMessageData)
{
    switch (message) {
    case DG_MSG_INIT:
        DGSetDialogTitle(dialID, Str(1));
        DGListSetTabFieldCount(dialID, 3, 2);
        DGListSetTabFieldData(dialID, 3, 1, 0, 150, DG_IS_LEFT, DG_IS_TRUNCEND, false, true);
        DGListSetTabFieldData(dialID, 3, 2, 150, 280, DG_IS_LEFT, DG_IS_NOTRUNC, false, true);
        DGDisableDraw(dialID, 3);
        for (short row = 1; row <= 3; ++row) {
            DGListInsertItem(dialID, 3, DG_LIST_BOTTOM);
            DGListSetTabItemText(dialID, 3, row, 1, Str(short(row + 1)));
            DGListSetTabItemText(dialID, 3, row, 2, U("tab"));
            DGListSetItemIcon(dialID, 3, row, HostAPI_GetOwnResModule(), short(32757 + row));
        }
        DGEnableDraw(dialID, 3);
        DGListSelectItem(dialID, 3, 1);
        DGSetItemText(dialID, 4, DGListGetTabItemText(dialID, 3, 1, 1));
        DGSetFocus(dialID, DG_NO_ITEM);
        return 0;
    case DG_MSG_CLICK:
        if (item == 1 || item == 2)
            return item;
        if (item == 6) { // the user's click has toggled the check box already
            if (DGIsItemChecked(dialID, 6))
                DGShowItem(dialID, 5);
            else
                DGHideItem(dialID, 5);
        }
        if (item == 7) {
            const HostResModule previous = HostAPI_UseOwnResModule();
            DGModalDialog(HostAPI_GetOwnResModule(), 32602, HostAPI_GetOwnResModule(), NestedHandler, 0);
            HostAPI_ResetResModule(previous);
        }
        return 0;
    case DG_MSG_CHANGE:
        if (item == 3) {
            const short row = DGListGetSelected(dialID, 3, 0);
            DGSetItemText(dialID, 4, DGListGetTabItemText(dialID, 3, row, 1));
            DGSetItemIcon(dialID, 8, short(32757 + row)); // the row's own icon
            if (row == 3)
                DGDisableItem(dialID, 1);
            else
                DGEnableItem(dialID, 1);
        }
        return 0;
    case DG_MSG_CLOSE:
        probe::Get().lastIcon = DGGetItemIcon(dialID, 8);
        return item;
    default:
        return 0;
    }
}

short ModelessHandler(short message, short dialID, short item, DGUserData, DGMessageData)
{
    switch (message) {
    case DG_MSG_INIT:
        HostAPI_RegisterModelessWindow(dialID, nullptr, 7);
        return 0;
    case DG_MSG_CLICK:
        if (item == 1) {
            DGModelessClose(dialID);
            return 1;
        }
        return 0;
    case DG_MSG_CLOSE:
        HostAPI_UnregisterModelessWindow(dialID);
        probe::Get().modelessID = 0;
        return 1;
    default:
        return 0;
    }
}

void TimerProc(MainLoop::TimerID, void* userData)
{
    ++probe::Get().timerFired;
    Tell(U(static_cast<const char*>(userData)));
}

void WriteProbeFile()
{
    IO::Location folder;
    HostErrCode err = IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder);
    if (err == NoError) {
        folder.AppendToLocal(IO::Name(U("probe.txt")));
        IO::File file(folder, IO::File::Create);
        err = file.GetStatus();
        if (err == NoError)
            err = file.Open(IO::File::WriteEmptyMode);
        if (err == NoError)
            err = file.WriteBin("hello", 5);
        if (file.IsOpen()) {
            const HostErrCode closeErr = file.Close();
            if (err == NoError)
                err = closeErr;
        }
    }
    Tell(U("write: ") + Hex(err));
}

void CallPeer()
{
    const std::string ids = Str(1, 32611).ToUTF8(); // "developer local" of the other probe
    char* end = nullptr;
    API_ModulID peer;
    peer.developerID = UInt32(std::strtoul(ids.c_str(), &end, 0));
    peer.localID = UInt32(std::strtoul(end, nullptr, 0));
    Tell(U("test: ") + Hex(HostAPI_Command_Test(&peer, kCommand, 1)));
    char result[16] = {};
    const HostErrCode err = HostAPI_Command_Call(&peer, kCommand, 1, nullptr, result, true);
    Tell(U("call: ") + Hex(err) + U(" ") + U(result));
}

HostErrCode MenuHandler(const API_MenuParams* params)
{
    probe::State& state = probe::Get();
    if (params->menuItemRef.menuResID == 32501) {
        ++state.unregisteredMenuCalls;
        return NoError;
    }
    switch (params->menuItemRef.itemIndex) {
    case 1: {
        const HostResModule previous = HostAPI_UseOwnResModule();
        state.lastModalResult =
            DGModalDialog(HostAPI_GetOwnResModule(), 32600, HostAPI_GetOwnResModule(), ModalHandler, 0);
        HostAPI_ResetResModule(previous);
        break;
    }
    case 2: {
        const HostResModule previous = HostAPI_UseOwnResModule();
        state.modelessID =
            DGModelessInit(HostAPI_GetOwnResModule(), 32601, HostAPI_GetOwnResModule(), ModelessHandler, 0, 1);
        HostAPI_ResetResModule(previous);
        DGShowModelessDialog(state.modelessID);
        break;
    }
    case 3:
        DGAlert(-1, U("Probe"), Str(5), U("small"), U("OK"));
        break;
    case 4: {
        DG::FolderDialog dialog;
        dialog.SetTitle(U("Pick a folder"));
        if (dialog.Invoke()) {
            Base::UniString path;
            dialog.GetFolder().ToPath(&path);
            state.lastChoice = path.ToUTF8();
            Tell(U("folder: ") + path);
        } else {
            state.lastChoice.clear();
            Tell(U("cancelled"));
        }
        break;
    }
    case 5: {
        FTM::FileTypeManager manager("Module");
        const FTM::FileType type("Text file", "txt", Base::FourCC("HOST"), Base::FourCC("TEXT"), 145);
        const FTM::TypeID id = manager.AddType(type, FTM::RootGroup);
        DG::FileDialog dialog(DG::FileDialog::OpenFile);
        dialog.AddFilter(id);
        dialog.SetTitle(U("Pick a file"));
        if (dialog.Invoke()) {
            Base::UniString path;
            dialog.GetSelectedFile(0).ToPath(&path);
            state.lastChoice = path.ToUTF8();
            Tell(U("file: ") + path);
        } else {
            state.lastChoice.clear();
            Tell(U("cancelled"));
        }
        break;
    }
    case 6:
        MainLoop::AddTimer(0.05, TimerProc, const_cast<char*>("timer fired"));
        break;
    case 7:
        WriteProbeFile();
        break;
    case 8: {
        IO::Location own;
        Base::UniString path;
        HostAPI_GetOwnLocation(&own);
        own.ToPath(&path);
        const std::string target = path.ToUTF8();
        const char* argv[] = {"xdg-open", target.c_str(), nullptr};
        HostServices::SpawnDetached(argv);
        break;
    }
    case 9: {
        Base::UniString s;
        const bool without = HostAPI_Resource_GetLocUStr(&s, kStrings, 5);
        const bool with = !Str(5).IsEmpty();
        Tell(U(without ? "without: found" : "without: missing") + U(with ? ", with: found" : ", with: missing"));
        break;
    }
    case 10:
        CallPeer();
        break;
    default:
        break;
    }
    return NoError;
}

HostErrCode CommandHandler(HostHandle, HostPtr resultData, bool)
{
    ++probe::Get().commandCalls;
    if (resultData)
        std::snprintf(resultData, 16, "pong");
    return NoError;
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    API_ServerApplicationInfo info;
    HostAPI_GetReleaseNumber(&info);
    probe::Get().release = info.mainVersion;
    if (envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    const probe::State& state = probe::Get();
    envir->addOnInfo.name = U(state.name.empty() ? PROBE_NAME : state.name.c_str());
    envir->addOnInfo.description =
        U(state.description.empty() ? "Exercises the host interface" : state.description.c_str());
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    if (const HostErrCode err = HostAPI_Register_Menu(32500, 0, MenuCode_Tools, 0); err != NoError)
        return err;
    return HostAPI_Register_SupportedService(kCommand, 1);
}

HostErrCode Initialize()
{
    HostErrCode err = HostAPI_Install_MenuHandler(32500, MenuHandler);
    err |= HostAPI_Install_MenuHandler(32501, MenuHandler);
    if (err != NoError)
        return err;
    ++probe::Get().initialized;
    return HostAPI_Install_ModulCommandHandler(kCommand, 1, CommandHandler);
}

HostErrCode FreeData()
{
    ++probe::Get().freed;
    return NoError;
}
