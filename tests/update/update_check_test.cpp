// The update check end to end: the example add-on in the host, its menu, its versions file on a
// loopback server, its results dialog, alerts and settings.
#include "AddOnHost.hpp"
#include "DownloadHarness.hpp"

#include "kfsdk/HostTable.h"
#include "kftest/Scoped.hpp"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

using namespace kftest;

namespace {

// The example add-on is "OBT 1.2.0.3 (HV170) 15/03/2013" with the library "OrvellaBeamLib".
constexpr char kName[] = "Orvella Beam Tools";
constexpr char kNewer[] = "* newest releases\n"
                          "MESSAGE 01/01/2013\n# H\xe9llo \xff http://example.invalid/\n" // no text: spoils its line
                          "OrvellaBeamLib 15-02-2013\n"
                          "OBT 1.2.1.0 (HV170) 02/09/2013 ita int\n# Faster.\n";
// Lines that match the add-on but are not newer, or are newer but do not match it.
constexpr char kNothingNewer[] = "OBT 1.9.9.9 (HV170) 14/03/2013\n"
                                 "OBT 1.2.0.3 (HV170) 15/03/2013\n"
                                 "OBT 2.0.0.0 (HV170) 01/01/2014\n"
                                 "OBT 1.3.0.0 (HV160) 01/01/2014\n"
                                 "obt 1.3.0.0 (HV170) 01/01/2014\n"
                                 "OBT 1.3.0.0 (HV1700) 01/01/2014\n";

class UpdateCheck : public AddOnHost {
protected:
    bool CheckNowShowsResults()
    {
        Menu(kCheckNow);
        return RunUntil([&] { return ShownResults() != nullptr; });
    }
    bool CheckedRecently()
    {
        const std::string stored = OwnSettings()[LastCheckKey()];
        return !stored.empty() && std::labs(std::stol(stored) - static_cast<long>(std::time(nullptr))) < 120;
    }
    // Every failure the user sees is the one alert with string 33.
    void ExpectOneAlert()
    {
        ASSERT_TRUE(RunUntil([&] {
            const auto& lines = host_->Transcript();
            return std::any_of(lines.begin(), lines.end(),
                               [](const std::string& l) { return l.rfind("alert ", 0) == 0; });
        }));
        EXPECT_TRUE(AlertShown(Text(33)));
        EXPECT_TRUE(NoAlert());
    }
};

} // namespace

TEST_F(UpdateCheck, UserCheckShowsANewerReleaseAndOpensItsUpdatePage)
{
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_EQ(Menu(kCheckNow), KF_NOERROR);
    kfhost::Dialog* pending = OpenResults();
    ASSERT_NE(pending, nullptr) << "the dialog is made when the download starts";
    EXPECT_FALSE(pending->visible) << "its items wait for the result, as CheckInProcess's table shows";

    ASSERT_TRUE(RunUntil([&] { return ShownResults() != nullptr; }));
    kfhost::Dialog& d = *ShownResults();
    // Items 4 and 6 pin the state the real check reached (newer add-on, newer library); what the
    // dialog shows in that state is CheckInProcess's table.
    EXPECT_EQ(ToUtf8(d.title), kName);
    EXPECT_EQ(ItemText(d, 4), With(Text(81), "ADDONNAME", kName));
    EXPECT_EQ(ItemText(d, 6), With(Text(82), "ADDONLIBNAME", "OrvellaBeamLib"));
    EXPECT_TRUE(host_->Host().ModelessWindows().count(d.id)) << "registered as a modeless window";

    EXPECT_FALSE(std::filesystem::exists(VersionsCopy())) << "the copy is deleted after the comparison";
    EXPECT_TRUE(CheckedRecently());
    EXPECT_TRUE(NoAlert());

    const short id = d.id;
    ASSERT_TRUE(host_->Run("click 5"));
    EXPECT_EQ(host_->Launched().size(), 1u) << "the page, whose address CheckInProcess pins";
    EXPECT_EQ(OpenResults(), nullptr);
    EXPECT_FALSE(host_->Host().ModelessWindows().count(id)) << "closing unregisters the window";
}

TEST_F(UpdateCheck, TheFirstAutomaticCallOnlySwitchesCheckingOn)
{
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    EXPECT_TRUE(MenuChecked(kAutoCheck)) << "a missing setting counts as on";
    Menu(kAbout);
    EXPECT_TRUE(AlertShown("OBT 1.2.0.3 (HV170) 15/03/2013"));
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_EQ(OwnSettings()["AutoUpdate"], "1");
    EXPECT_EQ(OwnSettings().count(LastCheckKey()), 0u);
    EXPECT_TRUE(server_->RequestTargets().empty());
    Menu(kAutoCheck);
    EXPECT_FALSE(MenuChecked(kAutoCheck));
    EXPECT_EQ(OwnSettings()["AutoUpdate"], "0");
}

TEST_F(UpdateCheck, WithNothingNewerAnAutomaticCheckStaysSilentAndTheUserIsToldSo)
{
    WriteOwnSettings({{"AutoUpdate", "1"}});
    ServeVersions(kNothingNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    Menu(kAbout);
    ASSERT_TRUE(
        RunUntil([&] { return !server_->RequestTargets().empty() && !std::filesystem::exists(VersionsCopy()); }));
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_EQ(ShownResults(), nullptr);
    EXPECT_TRUE(AlertShown("OBT 1.2.0.3 (HV170) 15/03/2013"));
    EXPECT_TRUE(NoAlert());
    EXPECT_TRUE(CheckedRecently());

    ASSERT_TRUE(CheckNowShowsResults());
    EXPECT_EQ(ItemText(*ShownResults(), 3), Text(35));
    EXPECT_EQ(ItemText(*ShownResults(), 4), With(Text(80), "ADDONNAME", kName));
}

TEST_F(UpdateCheck, SwitchedOffOrUnknownNeverChecksAndLeavesTheMarkOff)
{
    ServeVersions(kNewer);
    for (const char* value : {"0", "2", "yes"}) {
        SCOPED_TRACE(value);
        WriteOwnSettings({{"AutoUpdate", value}});
        ASSERT_NO_FATAL_FAILURE(Load());
        EXPECT_FALSE(MenuChecked(kAutoCheck));
        Menu(kAbout);
        EXPECT_TRUE(host_->RunUntilIdle());
        EXPECT_TRUE(server_->RequestTargets().empty());
        EXPECT_EQ(OwnSettings()["AutoUpdate"], value);
    }
}

// Whatever fails, the user sees the one alert, no results and no copy; an automatic check fails
// aloud too. Only a check whose download never started does not count for the interval.
TEST_F(UpdateCheck, EveryFailureEndsInTheOneAlert)
{
    ServeVersions(kNewer);
    kftest::RefusingPort const refusing;
    std::string const partial = "*__updcf__.tmp.*.kftmp";
    struct Case {
        const char* what;
        std::string server = {};
        kfhost::FileOp op = kfhost::FileOp::Open;
        std::string fault = {}; // the files of a fault rule, if any
        std::int32_t code = 0;
        bool automatic = false;
    };
    const Case cases[] = {
        {"a download that cannot start", "ftp://127.0.0.1:9"},
        {"a refused connection", refusing.Url()},
        {"a refused connection, automatic", refusing.Url(), {}, {}, 0, true},
        {"an error status", server_->BaseUrl() + "/no/such/place"},
        {"a copy that cannot be made", "", kfhost::FileOp::Create, partial, IO::AccessDenied},
        {"a write refused by the disk", "", kfhost::FileOp::Write, partial, IO::DiskFull},
        // The download goes to a file beside the copy, which it replaces at the end.
        {"a copy that cannot be opened after the download", server_->BaseUrl() + "/test/slow", kfhost::FileOp::Open,
         "*__updcf__.tmp", IO::AccessDenied},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        WriteOwnSettings({{"AutoUpdate", "1"}});
        ASSERT_NO_FATAL_FAILURE(Load(c.server));
        if (!c.fault.empty())
            host_->Faults().Fail(c.op, c.fault, c.code, -1);
        Menu(c.automatic ? kAbout : kCheckNow);
        if (c.automatic) {
            EXPECT_TRUE(AlertShown("OBT 1.2.0.3 (HV170) 15/03/2013"));
            host_->ClearTranscript();
        }
        ExpectOneAlert();
        // A failed download closes the dialog; after a download that ended well it stays hidden.
        EXPECT_EQ(c.fault == "*__updcf__.tmp" ? ShownResults() : OpenResults(), nullptr);
        EXPECT_FALSE(std::filesystem::exists(VersionsCopy()));
        EXPECT_EQ(CheckedRecently(), c.server.rfind("ftp:", 0) != 0);
    }
}

// A real 64 KiB file system over the framework folder, filled up: a tmpfs, where the machine lets
// the test mount one.
TEST_F(UpdateCheck, AFullFileSystemIsAFailure)
{
    if (::mount("kftest", framework_.Path().c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "size=65536,mode=0700") != 0)
        GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
    // Detached, so that a file still open never keeps the mount.
    std::shared_ptr<void> const unmount(nullptr, [&](void*) { ::umount2(framework_.Path().c_str(), MNT_DETACH); });
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    const int fd = ::open((framework_.Path() / "filler.bin").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    std::string const block(4096, 'f');
    for (std::size_t size = block.size(); size > 0; size /= 2)
        while (::write(fd, block.data(), size) > 0)
            continue;
    ::close(fd);
    ASSERT_GT(std::filesystem::file_size(framework_.Path() / "filler.bin"), 0u);
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(ShownResults(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(VersionsCopy()));
}

// ---- A hostile server or framework folder: the check fails loudly or answers right, and never
// writes through what was planted. ----

TEST_F(UpdateCheck, PlantedEntriesAtTheCopysNameAreReplacedNotWrittenThrough)
{
    std::filesystem::path const victim = framework_.Path() / ".." / "victim.txt";
    kftest::WriteFile(victim, "mine");
    std::filesystem::create_symlink(victim, VersionsCopy());
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_TRUE(CheckNowShowsResults());
    EXPECT_EQ(kftest::ReadFile(victim), "mine");

    // A FIFO there would block any open for writing until someone reads it.
    host_->ClearTranscript();
    ASSERT_EQ(::mkfifo(VersionsCopy().c_str(), 0600), 0);
    ASSERT_TRUE(CheckNowShowsResults());
    std::filesystem::remove(victim);
}
