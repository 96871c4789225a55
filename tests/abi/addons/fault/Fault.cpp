// The fault probe. Menu 32500 item N does fault N (see fault.res); module command 'FLT ' 1 does
// the fault its parameter handle's first byte names (without one, the planned fault of "command");
// an entry point does the planned fault.
#include "Fault.hpp"

#include "AddOnLinkage.hpp"
#include "DG.hpp"
#include "HostAPI.hpp"
#include "MainLoop.hpp"
#include "kfsdk/HostLink.hpp"
#include "kfsdk/HostServices.hpp"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#ifndef FAULT_NAME
#define FAULT_NAME "Fault"
#endif

namespace fault {

namespace {

// Each frame keeps a buffer the compiler cannot drop, so the stack really runs out; the flag only
// keeps the compiler from seeing that it never ends.
volatile bool sDeeper = true;

int Deeper(int depth)
{
    volatile char frame[512];
    frame[0] = char(depth);
    return sDeeper ? Deeper(depth + 1) + frame[0] : 0;
}

void Forever()
{
    for (volatile bool forever = true; forever;) {
    }
}

void Say(const std::string& line)
{
    HostServices::Log(Base::UniString::FromUTF8(line.c_str()));
}

void Null()
{
    // A field of a null record: the first page faults, and the sanitizers do not end it first.
    int* volatile p = reinterpret_cast<int*>(std::uintptr_t(8));
    *p = 1;
}

constexpr int kFatal[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};

void ResetHandlers()
{
    for (const int signal : kFatal)
        ::signal(signal, SIG_DFL);
}

short ClosingCallback(short message, short, short item, DGUserData, DGMessageData)
{
    return message == DG_MSG_CLICK ? item : 0;
}

std::jmp_buf sJump;

short JumpingCallback(short message, short, short, DGUserData, DGMessageData)
{
    if (message == DG_MSG_INIT)
        std::longjmp(sJump, 1);
    return 0;
}

void JumpOutOfCallback()
{
    if (setjmp(sJump) == 0)
        DGModalDialog(HostAPI_GetOwnResModule(), 32600, HostAPI_GetOwnResModule(), JumpingCallback, 0);
}

void BrokenPipe()
{
    ::raise(SIGPIPE);
    int fds[2];
    if (::pipe(fds) != 0)
        return;
    ::close(fds[0]);
    const ssize_t written = ::write(fds[1], "x", 1);
    const int error = errno;
    ::close(fds[1]);
    Say(written < 0 && error == EPIPE ? "the write into the broken pipe failed with EPIPE"
                                      : "the write into the broken pipe did not fail");
}

void Nothing(MainLoop::TimerID, void*) {}

// Threads of the add-on's own, left running after the handler returns (and a timer, so that the
// script's wait has something to wait for meanwhile).
void AfterReturn(void (*what)())
{
    MainLoop::AddTimer(2.0, Nothing, nullptr);
    std::thread([what] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        what();
    }).detach();
}

void CallHostALot()
{
    for (int i = 0; i < 100; ++i)
        HostAPI_GetOwnResModule();
}

void CallFromThread()
{
    HostErrCode answer = NoError;
    std::thread([&] { answer = HostAPI_Register_Menu(32500, 0, MenuCode_Tools, 0); }).join();
    Say("a call from another thread answered " + std::to_string(answer));
}

void WriteInFramework()
{
    IO::Location folder;
    if (IO::FileSystem::GetSpecialLocation(13, &folder) != NoError)
        return Say("no framework folder");
    folder.AppendToLocal(IO::Name(Base::UniString::FromUTF8("Written")));
    IO::Folder made(folder, IO::Folder::Create);
    IO::Location file = folder;
    file.AppendToLocal(IO::Name(Base::UniString::FromUTF8("file.txt")));
    IO::File written(file, IO::File::LeaveToOpen);
    const HostErrCode err = written.Open(IO::File::CreateNewMode);
    written.Close();
    Base::UniString path;
    file.ToPath(&path);
    Say("wrote " + path.ToUTF8() + ": " + std::to_string(err));
}

void BadPointerToHost()
{
    const KF_HostTable* table = kfsdk::CurrentHostTable();
    table->GetReleaseNumber(table->context, reinterpret_cast<KF_ServerInfo*>(std::uintptr_t(8)));
}

} // namespace

void Do(How how)
{
    switch (how) {
    case How::None:
    case How::Return:
        return;
    case How::Null:
        Null();
        return;
    case How::Abort:
        std::abort();
    case How::Loop:
        Forever();
        return;
    case How::Recursion:
        Deeper(0);
        return;
    case How::BadAlloc:
        throw std::bad_alloc();
    case How::RuntimeError:
        throw std::runtime_error("the fault probe failed on purpose");
    case How::Int:
        throw 42;
    case How::LoopThroughHost:
        for (;;)
            CallHostALot();
    case How::LoopMasked: {
        sigset_t all;
        sigfillset(&all);
        ::sigprocmask(SIG_BLOCK, &all, nullptr);
        Forever();
        return;
    }
    case How::LoopAlarmOff:
        ::alarm(0);
        Forever();
        return;
    case How::RaiseAlarm:
        ::raise(SIGALRM);
        return;
    case How::JumpOutOfCallback:
        JumpOutOfCallback();
        return;
    case How::BrokenPipe:
        BrokenPipe();
        return;
    case How::CallAfterReturn:
        AfterReturn(CallHostALot);
        return;
    case How::CrashAfterReturn:
        AfterReturn(Null);
        return;
    case How::ResetHandlers:
        ResetHandlers();
        return;
    case How::ResetHandlersAndNull:
        ResetHandlers();
        Null();
        return;
    case How::Exit0:
        std::exit(0);
    case How::UnderscoreExit7:
        ::_exit(7);
    case How::CallFromThread:
        CallFromThread();
        return;
    case How::ChdirUmask:
        if (::chdir("/") != 0)
            Say("chdir failed");
        ::umask(0777);
        return;
    case How::WriteInFramework:
        WriteInFramework();
        return;
    case How::BadPointerToHost:
        BadPointerToHost();
        return;
    case How::ModalDialog: {
        // The timer gives a script's wait inside the dialog something to wait for.
        const MainLoop::TimerID timer = MainLoop::AddTimer(30.0, Nothing, nullptr);
        DGModalDialog(HostAPI_GetOwnResModule(), 32600, HostAPI_GetOwnResModule(), ClosingCallback, 0);
        MainLoop::RemoveTimer(timer);
        return;
    }
    }
}

How FromName(std::string_view name)
{
    constexpr std::pair<std::string_view, How> kNames[] = {{"null", How::Null},
                                                           {"abort", How::Abort},
                                                           {"loop", How::Loop},
                                                           {"recursion", How::Recursion},
                                                           {"bad_alloc", How::BadAlloc},
                                                           {"runtime_error", How::RuntimeError},
                                                           {"int", How::Int}};
    for (const auto& [n, h] : kNames)
        if (n == name)
            return h;
    return How::None;
}

Plan& CurrentPlan()
{
    static Plan plan = [] {
        // "<add-on name>:<entry point>:<how>"; other add-ons of the same source stay well.
        static std::string text = std::getenv("KF_FAULT_AT") ? std::getenv("KF_FAULT_AT") : "";
        const std::string_view all = text;
        const std::string_view mine = FAULT_NAME ":";
        if (all.substr(0, mine.size()) != mine)
            return Plan{};
        const std::string_view rest = all.substr(mine.size());
        const std::size_t colon = rest.find(':');
        if (colon == std::string_view::npos)
            return Plan{};
        return Plan{rest.substr(0, colon), FromName(rest.substr(colon + 1))};
    }();
    return plan;
}

} // namespace fault

namespace {

constexpr HostFourCC kCommand = Base::FourCC("FLT ");

void At(std::string_view entry)
{
    if (fault::CurrentPlan().entry == entry)
        fault::Do(fault::CurrentPlan().how);
}

HostErrCode MenuHandler(const API_MenuParams* params)
{
    fault::Do(fault::How(params->menuItemRef.itemIndex));
    return NoError;
}

HostErrCode CommandHandler(HostHandle params, HostPtr, bool)
{
    if (params)
        fault::Do(fault::How(**params));
    else
        At("command");
    return NoError;
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    envir->addOnInfo.name = Base::UniString::FromUTF8(FAULT_NAME);
    envir->addOnInfo.description = Base::UniString::FromUTF8("crashes, hangs and throws where it is told to");
    At("CheckEnvironment");
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    At("RegisterInterface");
    if (const HostErrCode err = HostAPI_Register_Menu(32500, 0, MenuCode_Tools, 0); err != NoError)
        return err;
    return HostAPI_Register_SupportedService(kCommand, 1);
}

HostErrCode Initialize()
{
    At("Initialize");
    HostErrCode err = HostAPI_Install_MenuHandler(32500, MenuHandler);
    err |= HostAPI_Install_ModulCommandHandler(kCommand, 1, CommandHandler);
    return err;
}

HostErrCode FreeData()
{
    At("FreeData");
    return NoError;
}
