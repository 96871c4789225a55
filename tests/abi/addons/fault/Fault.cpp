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
#include <utility>

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

void LoopMasked()
{
    sigset_t all;
    sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    Forever();
}

void ModalDialog()
{
    // The timer gives a script's wait inside the dialog something to wait for.
    const MainLoop::TimerID timer = MainLoop::AddTimer(30.0, Nothing, nullptr);
    DGModalDialog(HostAPI_GetOwnResModule(), 32600, HostAPI_GetOwnResModule(), ClosingCallback, 0);
    MainLoop::RemoveTimer(timer);
}

void ChdirUmask()
{
    if (::chdir("/") != 0)
        Say("chdir failed");
    ::umask(0777);
}

// The faults by number, under the names KF_FAULT_AT gives them.
constexpr std::pair<std::string_view, void (*)()> kFaults[] = {
    {"none", [] {}},
    {"null", Null},
    {"abort", [] { std::abort(); }},
    {"loop", Forever},
    {"recursion", [] { Deeper(0); }},
    {"bad_alloc", [] { throw std::bad_alloc(); }},
    {"runtime_error", [] { throw std::runtime_error("the fault probe failed on purpose"); }},
    {"int", [] { throw 42; }},
    {"return", [] {}},
    // loops calling a host entry
    {"loop_through_host",
     [] {
         for (;;)
             CallHostALot();
     }},
    // blocks every signal, then loops
    {"loop_masked", LoopMasked},
    {"loop_alarm_off",
     [] {
         ::alarm(0);
         Forever();
     }},
    {"raise_alarm", [] { ::raise(SIGALRM); }},
    // longjmp from a modal dialog's callback back into the menu handler
    {"jump_out_of_callback", JumpOutOfCallback},
    // raise(SIGPIPE), then writes into a pipe nobody reads; logs what the write answered
    {"broken_pipe", BrokenPipe},
    // threads that call the host, or fault, after the handler returned
    {"call_after_return", [] { AfterReturn(CallHostALot); }},
    {"crash_after_return", [] { AfterReturn(Null); }},
    // puts every fatal signal back to its default (then dereferences null)
    {"reset_handlers", ResetHandlers},
    {"reset_handlers_and_null",
     [] {
         ResetHandlers();
         Null();
     }},
    {"exit0", [] { std::exit(0); }},
    {"underscore_exit7", [] { ::_exit(7); }},
    // calls the host from another thread while the handler waits; logs the answer
    {"call_from_thread", CallFromThread},
    {"chdir_umask", ChdirUmask},
    // creates a folder and a file in the framework folder; logs where and how
    {"write_in_framework", WriteInFramework},
    // hands the host a pointer it cannot write through
    {"bad_pointer_to_host", BadPointerToHost},
    // opens its modal dialog (the script decides how long it stays)
    {"modal_dialog", ModalDialog},
};

} // namespace

void Do(int fault)
{
    if (fault >= 0 && std::size_t(fault) < std::size(kFaults))
        kFaults[fault].second();
}

int FromName(std::string_view name)
{
    for (std::size_t i = 0; i < std::size(kFaults); ++i)
        if (kFaults[i].first == name)
            return int(i);
    return 0;
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
        fault::Do(fault::CurrentPlan().fault);
}

HostErrCode MenuHandler(const API_MenuParams* params)
{
    fault::Do(params->menuItemRef.itemIndex);
    return NoError;
}

HostErrCode CommandHandler(HostHandle params, HostPtr, bool)
{
    if (params)
        fault::Do(**params);
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
