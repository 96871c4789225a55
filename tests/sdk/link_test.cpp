// The link to the host: the table's version check, calls before the table, the run loop and the
// operating-system services.
#include "HostAPI.hpp"
#include "DG.hpp"
#include "kfsdk/HostServices.hpp"
#include "MainLoop.hpp"
#include "kfsdk/HostLink.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(HostLink, RefusesAnotherMajorOrLessThanItsFirstMinorAndReadsLaterEntriesAsAbsent)
{
    kftest::InProcessHost host;
    kfhost::AddOn& addOn = host.Host().Attach({}, host.BundlePath());
    KF_HostTable table = addOn.table;
    table.version.major = KF_HOST_TABLE_MAJOR + 1;
    EXPECT_EQ(kfsdk::InstallHostTable(&table), KF_APIERR_BADTABLEVERSION);
    table.version.major = KF_HOST_TABLE_MAJOR;
    table.size = KF_HOST_TABLE_SIZE_2_0 - 1; // one byte short of the first minor
    EXPECT_EQ(kfsdk::InstallHostTable(&table), KF_APIERR_BADTABLEVERSION);
    EXPECT_EQ(kfsdk::CurrentHostTable(), nullptr);

    // A 2.0 host: MoveOver is beyond its size, so the call answers without reaching it.
    table.size = KF_HOST_TABLE_SIZE_2_0;
    table.version.minor = 0;
    ASSERT_EQ(kfsdk::InstallHostTable(&table), KF_NOERROR);
    EXPECT_EQ(kfsdk::CurrentHostTable()->MoveOver, nullptr);
    const IO::Location from(Base::UniString::FromUTF8((host.TempDir() / "a").string()));
    const IO::Location to(Base::UniString::FromUTF8((host.TempDir() / "b").string()));
    EXPECT_EQ(IO::FileSystem::MoveOver(from, to), APIERR_GENERAL);

    // The last entry: present when the size ends exactly behind it, absent when it ends a byte
    // short (never half copied), present in a newer host with more entries.
    table.version.minor = KF_HOST_TABLE_MINOR;
    const short dialog = 1;
    for (const std::uint32_t size : {std::uint32_t(sizeof(KF_HostTable) - 1), std::uint32_t(sizeof(KF_HostTable)),
                                     std::uint32_t(sizeof(KF_HostTable) + 64)}) {
        SCOPED_TRACE(size);
        table.size = size;
        ASSERT_EQ(kfsdk::InstallHostTable(&table), KF_NOERROR);
        EXPECT_EQ(kfsdk::CurrentHostTable()->GetItemIcon != nullptr, size >= sizeof(KF_HostTable));
        EXPECT_EQ(DGGetItemIcon(dialog, 1), 0) << "no such dialog either way";
        EXPECT_NE(kfsdk::CurrentHostTable()->MoveOver, nullptr);
    }
    kfsdk::InstallHostTable(nullptr);
}

TEST(HostLink, CallsBeforeTheTableAnswerNeutrally)
{
    ASSERT_EQ(kfsdk::CurrentHostTable(), nullptr);
    IO::File file(IO::Location(Base::UniString::FromUTF8("/tmp/x")), IO::File::Create);
    EXPECT_EQ(file.GetStatus(), APIERR_GENERAL);
    IO::Location location;
    EXPECT_EQ(IO::FileSystem::GetSpecialLocation(13, &location), APIERR_GENERAL);
    API_ServerApplicationInfo info;
    EXPECT_EQ(HostAPI_GetReleaseNumber(&info), APIERR_GENERAL);
    EXPECT_EQ(HostAPI_Environment(HostEnv_Project, nullptr), APIERR_BADPARS);
    API_RenderingSets sets;
    EXPECT_EQ(HostAPI_Environment(HostEnv_GetRenderingSets, &sets), APIERR_GENERAL);
    EXPECT_EQ(DGModalDialog(1, 32500, 1, nullptr, 0), 0);
    EXPECT_EQ(MainLoop::AddTimer(
                  1, [](MainLoop::TimerID, void*) {}, nullptr),
              0);
    EXPECT_EQ(HostServices::UpdateServer(), nullptr);
    EXPECT_FALSE(HostServices::Log(Base::UniString::FromUTF8("nobody hears")));
    EXPECT_FALSE(DG::FolderDialog().Invoke());
}

void Count(MainLoop::TimerID, void* userData)
{
    ++*static_cast<int*>(userData);
}

TEST(HostLink, TimersAndWatchesRunOnTheHostsLoop)
{
    kftest::InProcessHost host;
    host.Attach();
    int fired = 0;
    const double before = MainLoop::Now();
    MainLoop::AddTimer(0.02, Count, &fired);
    const MainLoop::TimerID removed = MainLoop::AddTimer(0.01, Count, &fired);
    MainLoop::RemoveTimer(removed);
    EXPECT_TRUE(host.RunUntilIdle());
    EXPECT_EQ(fired, 1);
    EXPECT_GE(MainLoop::Now() - before, 0.02);

    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    struct Seen {
        int fd = -1;
        UInt32 events = 0;
    } seen;
    const MainLoop::WatchID watch = MainLoop::AddWatch(
        fds[0], MainLoop::Readable,
        [](MainLoop::WatchID id, int fd, UInt32 events, void* data) {
            *static_cast<Seen*>(data) = Seen{fd, events};
            MainLoop::RemoveWatch(id);
        },
        &seen);
    EXPECT_NE(watch, 0);
    ASSERT_EQ(::write(fds[1], "x", 1), 1);
    EXPECT_TRUE(host.RunUntilIdle());
    EXPECT_EQ(seen.fd, fds[0]);
    EXPECT_EQ(seen.events, UInt32(MainLoop::Readable));
    EXPECT_FALSE(host.Host().Loop().HasPending());
    ::close(fds[0]);
    ::close(fds[1]);

    // Timers of an add-on no longer loaded never fire.
    MainLoop::AddTimer(0, Count, &fired);
    host.Unload();
    host.RunLoop(0.1);
    EXPECT_EQ(fired, 1);
}

TEST(HostLink, LaunchesAreRecordedAndRunOnlyWhenAsked)
{
    kftest::TempFolder temp;
    const std::string marker = (temp.Path() / "it ran; echo no").string();
    const char* argv[] = {"touch", marker.c_str(), nullptr};
    {
        kftest::InProcessHost host;
        host.Attach();
        EXPECT_EQ(HostServices::SpawnDetached(argv), NoError);
        EXPECT_EQ(host.Launched().size(), 1u);
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no process started, running or ended";
    }
    kfhost::HostConfig config;
    config.launch = true;
    kftest::InProcessHost host(config);
    host.Attach();
    EXPECT_EQ(HostServices::SpawnDetached(argv), NoError);
    EXPECT_TRUE(kftest::WaitUntil([&] { return std::filesystem::exists(marker); }))
        << "started with the argument vector, not through a shell";
    const char* missing[] = {"/nonexistent/program", nullptr};
    EXPECT_NE(HostServices::SpawnDetached(missing), NoError);
}

TEST(HostLink, ServicesComeFromTheHostsConfigurationAndUnknownOnesAreRefused)
{
    kfhost::HostConfig config;
    config.updateServer = "127.0.0.1:8080";
    config.downloadLimit = 5;
    kftest::InProcessHost host(config);
    host.Attach();
    ASSERT_NE(HostServices::UpdateServer(), nullptr);
    EXPECT_STREQ(HostServices::UpdateServer(), "127.0.0.1:8080");
    EXPECT_EQ(HostServices::DownloadTimeLimit(), 5.0);
    EXPECT_EQ(kfsdk::HostService("kfhost.update/0"), nullptr);
    EXPECT_TRUE(HostServices::Log(Base::UniString::FromUTF8("a line from the add-on")));
    EXPECT_EQ(host.Host().Log().Lines().back(), "\"Test.bundle\": a line from the add-on");
    API_ServerApplicationInfo info;
    ASSERT_EQ(HostAPI_GetReleaseNumber(&info), NoError);
    EXPECT_EQ(info.mainVersion, 17);
    API_RenderingSets sets;
    EXPECT_EQ(HostAPI_Environment(Base::FourCC("XXXX"), &sets), APIERR_NOTSUPPORTED);
    EXPECT_EQ(HostAPI_Interface(Base::FourCC("XXXX"), &sets), APIERR_NOTSUPPORTED);
    EXPECT_EQ(HostAPI_Register_BuiltInLibrary(), NoError);
    EXPECT_EQ(host.Host().BuiltInLibraries().size(), 1u);
}

} // namespace
