// No exception crosses the host boundary: for each kind of crossing, an add-on's callback throws
// std::bad_alloc, a std::runtime_error and an int; the call answers the error of its kind, the
// transcript names the add-on, the call and the exception, and the host goes on serving.
#include "HostAPI.hpp"
#include "DG.hpp"
#include "Fault.hpp"
#include "KF/KF_General.hpp"
#include "MainLoop.hpp"
#include "kfhost/Text.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>

namespace {

int sThrow = 0;

struct Thrown {
    const char* fault;
    const char* text;   // what the transcript says of it
    std::int32_t error; // what a call that answers a host error code answers
};
const Thrown kThrown[] = {
    {"bad_alloc", "std::bad_alloc", KF_APIERR_MEMFULL},
    {"runtime_error", "the fault probe failed on purpose", KF_APIERR_GENERAL},
    {"int", "an exception of type int", KF_APIERR_GENERAL},
};

// Crosses once; answers the code the host got back (0 where the callback answers nothing).
using Cross = std::function<std::int32_t(kftest::InProcessHost&)>;

struct Crossing {
    const char* kind;
    const char* call;      // the transcript's name of the call
    bool errorCoded;       // the call answers a host error code
    const char* planEntry; // the entry point that throws, or null when loaded first
    Cross cross;
};

short ThrowingDialog(short message, short, short, DGUserData, DGMessageData)
{
    if (message == DG_MSG_INIT)
        fault::Do(sThrow);
    return 0;
}

int ThrowingDownload(KF_URL_Message, double, void*)
{
    fault::Do(sThrow);
    return 0;
}

bool Logged(kftest::InProcessHost& host, const std::string& start, const std::string& end)
{
    for (const auto& line : host.Transcript())
        if (line.starts_with(start) && line.ends_with(end))
            return true;
    return false;
}

const Crossing kCrossings[] = {
    {"entry point", "Initialize", true, "Initialize", nullptr},
    {"menu handler", "menu handler", true, nullptr,
     [](kftest::InProcessHost& host) { return host.Menu(32500, sThrow); }},
    {"module command", "module command", true, nullptr,
     [](kftest::InProcessHost& host) {
         char how = char(sThrow);
         char* handle = &how;
         return host.Command(Base::FourCC("FLT "), 1, {}, &handle);
     }},
    {"menu handler without the sdk", "menu handler 32501 item 1", true, nullptr,
     [](kftest::InProcessHost& host) {
         const KF_HostTable& t = host.AddOn()->table;
         t.InstallMenuHandler(
             t.context, 32501,
             [](void*, std::int16_t, std::int32_t) -> KF_Err {
                 fault::Do(sThrow);
                 return KF_NOERROR;
             },
             nullptr);
         return host.Menu(32501, 1, false);
     }},
    {"dialog handler", "dialog handler", false, nullptr,
     [](kftest::InProcessHost& host) {
         const short dialID =
             DGModelessInit(HostAPI_GetOwnResModule(), 32600, HostAPI_GetOwnResModule(), ThrowingDialog, 0, 1);
         EXPECT_NE(dialID, 0) << "the dialog opens all the same";
         host.Run("click 1");
         return 0;
     }},
    {"run-loop timer", "run-loop timer", false, nullptr,
     [](kftest::InProcessHost& host) {
         MainLoop::AddTimer(
             0, [](MainLoop::TimerID, void*) { fault::Do(sThrow); }, nullptr);
         host.RunLoop(0.05);
         return 0;
     }},
    {"run-loop watch", "run-loop watch", false, nullptr,
     [](kftest::InProcessHost& host) {
         int fds[2];
         EXPECT_EQ(::pipe(fds), 0);
         EXPECT_EQ(::write(fds[1], "x", 1), 1);
         const MainLoop::WatchID watch = MainLoop::AddWatch(
             fds[0], MainLoop::Readable, [](MainLoop::WatchID, int, UInt32, void*) { fault::Do(sThrow); }, nullptr);
         // The watch stays readable: the loop never idles, so it runs until the callback has run.
         host.RunUntil([&] { return Logged(host, "exception from \"Fault\" in run-loop watch", ""); });
         MainLoop::RemoveWatch(watch);
         ::close(fds[0]);
         ::close(fds[1]);
         return 0;
     }},
    {"download callback", "run-loop", false, nullptr,
     [](kftest::InProcessHost& host) {
         // Nothing listens on port 1: the failure reaches the callback from the run loop.
         const KF_Location target(KF_String((host.TempDir() / "download").c_str()));
         EXPECT_TRUE(
             KF_General::URLDownload(KF_String("http://127.0.0.1:1/versions"), target, ThrowingDownload, nullptr));
         host.RunUntil([&] { return Logged(host, "exception from \"Fault\" in run-loop", ""); });
         return 0;
     }},
};

TEST(Exceptions, StopAtTheBoundaryOfEveryCrossing)
{
    for (const Crossing& crossing : kCrossings) {
        for (const Thrown& thrown : kThrown) {
            SCOPED_TRACE(std::string(crossing.kind) + ", " + thrown.text);
            sThrow = fault::FromName(thrown.fault);
            ASSERT_NE(sThrow, 0) << thrown.fault;
            fault::CurrentPlan() = {crossing.planEntry ? crossing.planEntry : "", crossing.planEntry ? sThrow : 0};
            kftest::InProcessHost host;
            host.AddResourceFolder(KF_FAULT_RESOURCES);
            const kfhost::LoadResult loaded = host.Load(kftest::LinkedEntryPoints(), "Fault");
            std::int32_t answer = 0;
            if (crossing.planEntry) {
                ASSERT_FALSE(loaded.Loaded());
                EXPECT_EQ(loaded.reason,
                          std::string(crossing.planEntry) + " answered " + kfhost::ErrorText(thrown.error));
            } else {
                ASSERT_TRUE(loaded.Loaded()) << loaded.reason;
                answer = crossing.cross(host);
                EXPECT_EQ(answer, crossing.errorCoded ? thrown.error : 0);
            }
            EXPECT_TRUE(Logged(host, "exception from \"Fault\" in " + std::string(crossing.call),
                               std::string(": ") + thrown.text))
                << host.TranscriptText();
            if (loaded.Loaded()) {
                sThrow = 0;
                EXPECT_EQ(host.Menu(32500, 8), NoError) << "the host goes on serving the add-on";
            }
        }
    }
    fault::CurrentPlan() = {};
}

} // namespace
