// An add-on with one deliberate fault, chosen when it is built (PROBE_FAULT_...), so that the
// validator can be shown to find exactly that fault. Without one it is a well-behaved add-on.
// Item 1 of its menu greets (or has the fault); item 2 checks for updates.
#include "HostAPI.hpp"
#include "AddOnLinkage.hpp"
#include "DG.hpp"
#include "IO.hpp"
#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Language.hpp"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace {

constexpr short kMenu = 32500;
constexpr short kStrings = 32530;

#if defined(PROBE_FAULT_BAD_VERSION_LINE)
constexpr char kVersionLine[] = "Probe 1.0.0";
#else
constexpr char kVersionLine[] = "PRB 1.0.0.0 (HV170) 01/06/2020";
#endif

#if defined(PROBE_FAULT_FORK)
// A process that outlives the call and goes on spoiling the shared store.
void LeaveAProcess()
{
    IO::Location folder;
    if (IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder) != NoError)
        return;
    folder.AppendToLocal(IO::Name(Base::UniString::FromUTF8("Quadrelle.cfg")));
    char path[4096];
    if (folder.ToUTF8POSIXPath(path, sizeof path) != NoError)
        return;
    if (::fork() == 0) {
        for (;;) {
            if (FILE* file = std::fopen(path, "wb"))
                std::fclose(file);
            ::usleep(10000);
        }
    }
}
#endif

HostErrCode MenuHandler(const API_MenuParams* params)
{
    if (params == nullptr || params->menuItemRef.menuResID != kMenu)
        return NoError;
    if (params->menuItemRef.itemIndex == 2) {
        KF_AddonUpdate_CheckForUpdate(0, true, KF_String(kVersionLine), KF_String(""));
        return NoError;
    }
#if defined(PROBE_FAULT_CRASH)
    std::raise(SIGSEGV);
#elif defined(PROBE_FAULT_PIPE)
    std::raise(SIGPIPE);
#elif defined(PROBE_FAULT_ABORT)
    std::abort();
#elif defined(PROBE_FAULT_HANG)
    for (;;)
        std::this_thread::sleep_for(std::chrono::seconds(1));
#elif defined(PROBE_FAULT_EXCEPTION)
    throw std::runtime_error("the probe's own exception");
#elif defined(PROBE_FAULT_FORK)
    LeaveAProcess();
#elif defined(PROBE_FAULT_NASTY)
    // Output no report may carry raw: bytes that are no UTF-8, markup, terminal escapes.
    std::fputs("\xff\xfe raw \x1b[2J\x1b]0;title\x07 <&]]> \x01\n", stdout);
    std::fflush(stdout);
    std::raise(SIGSEGV);
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

#if defined(PROBE_FAULT_LEAK)
// Where the block is kept: a store the optimiser must make, so the allocation is never elided.
void* volatile sLeaked = nullptr;
#endif

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    if (envir->serverInfo.serverApplication != ServerApp_Main)
        return AddOnType_DontRegister;
#if defined(PROBE_FAULT_NASTY)
    envir->addOnInfo.name = Base::UniString::FromUTF8("Nasty <&]]> \x1b[31m\x01\xc2\x9b Probe");
#else
    envir->addOnInfo.name = Base::UniString::FromUTF8(PROBE_NAME);
#endif
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
    // Taken at every load, given back never (the next load overwrites the only pointer to it).
    void* block = std::malloc(48 * 1024);
    if (block != nullptr)
        std::memset(block, 1, 48 * 1024);
    sLeaked = block;
#elif defined(PROBE_FAULT_OPEN_FILE)
    OpenAndForget();
#endif
    return HostAPI_Install_MenuHandler(kMenu, MenuHandler);
}

HostErrCode FreeData()
{
    return NoError;
}
