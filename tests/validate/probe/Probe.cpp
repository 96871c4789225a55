// An add-on with one deliberate fault, chosen when it is built (PROBE_FAULT_...), so that the
// validator can be shown to find exactly that fault. Without one it is a well-behaved add-on.
#include "HostAPI.hpp"
#include "AddOnLinkage.hpp"
#include "DG.hpp"
#include "IO.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_Language.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr short kMenu = 32500;
constexpr short kStrings = 32530;

HostErrCode MenuHandler(const API_MenuParams* params)
{
    if (params == nullptr || params->menuItemRef.menuResID != kMenu)
        return NoError;
#if defined(PROBE_FAULT_CRASH)
    std::raise(SIGSEGV);
#elif defined(PROBE_FAULT_HANG)
    for (;;)
        std::this_thread::sleep_for(std::chrono::seconds(1));
#endif
    // The greeting is text 3 of the current language.
    DGAlert(-1, Base::UniString(), KF_Resource_GetString(short(kStrings + gKF_Language), 3, true).ToUniString(),
            Base::UniString(), Base::UniString::FromUTF8("OK"));
    return NoError;
}

#if defined(PROBE_FAULT_OPEN_FILE)
void OpenAndForget()
{
    IO::Location folder;
    if (IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder) != NoError)
        return;
    folder.AppendToLocal(IO::Name(Base::UniString::FromUTF8("probe-open.txt")));
    static IO::File* sFile = nullptr;
    sFile = new IO::File(folder, IO::File::Create);
    sFile->Open(IO::File::WriteEmptyMode);
}
#endif

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
    envir->addOnInfo.name = Base::UniString::FromUTF8(PROBE_NAME);
    envir->addOnInfo.description = Base::UniString::FromUTF8("A fault for the validator to find");
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    KF_Language_Read(true);
#if defined(PROBE_FAULT_STORE_REWRITE)
    // Saves what it has just read, although nothing changed.
    if (KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, true))
        KF_AddonSettings_Save(KF_AddonSettings_ThisAddon);
#endif
    return HostAPI_Register_Menu(kMenu, 0, MenuCode_Tools, 0);
}

HostErrCode Initialize()
{
#if defined(PROBE_FAULT_LEAK)
    // Taken at every load, given back never.
    void* block = std::malloc(48 * 1024);
    std::memset(block, 1, 48 * 1024);
#elif defined(PROBE_FAULT_OPEN_FILE)
    OpenAndForget();
#endif
    return HostAPI_Install_MenuHandler(kMenu, MenuHandler);
}

HostErrCode FreeData()
{
    return NoError;
}
