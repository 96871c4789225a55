// The update check end to end: the example add-on in the host, its menu, its versions file on a
// loopback server, its results dialog, alerts and settings.
#include "AddOnHost.hpp"
#include "DownloadHarness.hpp"
#include "SmallDisk.hpp"

#include "kfsdk/HostTable.h"
#include "kftest/Scoped.hpp"

#include <sys/stat.h>

#include <algorithm>

using namespace kftest;

namespace {

// The example add-on is "OBT 1.2.0.3 (HV170) 15/03/2013" with the library "OrvellaBeamLib".
constexpr char kName[] = "Orvella Beam Tools";
constexpr char kNewer[] = "* newest releases\n"
                          "MESSAGE 01/01/2013\n# Hello http://example.invalid/\n"
                          "OrvellaBeamLib 15-02-2013\n"
                          "OBT 1.2.1.0 (HV170) 02/09/2013 ita int\n# Faster.\n";
// Lines that match the add-on but are not newer, or are newer but do not match it.
constexpr char kNothingNewer[] = "OBT 1.9.9.9 (HV170) 14/03/2013\n"
                                 "OBT 1.2.0.3 (HV170) 15/03/2013\n"
                                 "OBT 2.0.0.0 (HV170) 01/01/2014\n"
                                 "OBT 1.3.0.0 (HV160) 01/01/2014\n"
                                 "obt 1.3.0.0 (HV170) 01/01/2014\n"
                                 "OBT 1.3.0.0 (HV1700) 01/01/2014\n";

std::string With(std::string text, const std::string& what, const std::string& by)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

long Number(const std::string& text)
{
    return text.empty() ? 0 : std::stol(text);
}

class UpdateCheck : public AddOnHost {
protected:
    bool CheckNowShowsResults()
    {
        Menu(kCheckNow);
        return RunUntil([&] { return ShownResults() != nullptr; });
    }
    bool AlertPending()
    {
        const auto& lines = host_->Transcript();
        return std::any_of(lines.begin(), lines.end(), [](const std::string& l) { return l.rfind("alert ", 0) == 0; });
    }
    std::vector<std::string> LastLaunch() const
    {
        const auto& launched = host_->Launched();
        return launched.empty() ? std::vector<std::string>{} : launched.back();
    }
    bool CheckedRecently()
    {
        const long stored = Number(OwnSettings()[LastCheckKey()]);
        return std::labs(stored - static_cast<long>(std::time(nullptr))) < 120;
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
    EXPECT_FALSE(pending->visible);
    for (short item : {1, 4, 5, 6, 7})
        EXPECT_FALSE(Visible(*pending, item)) << "item " << item << " waits for the result";

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
    EXPECT_EQ(
        LastLaunch(),
        (std::vector<std::string>{
            "xdg-open", server_->BaseUrl() + "/update_plugins/updates.htm?acver=17&lang=1&addon=Orvella Beam Tools"}));
    EXPECT_EQ(OpenResults(), nullptr);
    EXPECT_FALSE(host_->Host().ModelessWindows().count(id)) << "closing unregisters the window";
}

TEST_F(UpdateCheck, UserCheckWithNothingNewerSaysSoAndTheLibraryPageNamesNoLibrary)
{
    ServeVersions(kNothingNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_TRUE(CheckNowShowsResults());
    kfhost::Dialog& d = *ShownResults();
    EXPECT_EQ(ItemText(d, 3), Text(35));
    EXPECT_EQ(ItemText(d, 4), With(Text(80), "ADDONNAME", kName));

    ASSERT_TRUE(host_->Run("click 7"));
    EXPECT_EQ(LastLaunch().back(),
              server_->BaseUrl() + "/update_plugins/updates.htm?acver=17&lang=1&addon=Orvella Beam Tools&lib=Unknown");
}

TEST_F(UpdateCheck, WebSiteAndCancelButtonsCloseTheDialog)
{
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_TRUE(CheckNowShowsResults());
    ASSERT_TRUE(host_->Run("click 1"));
    EXPECT_EQ(LastLaunch().back(), server_->BaseUrl() + "/");
    EXPECT_EQ(OpenResults(), nullptr);

    std::size_t const launches = host_->Launched().size();
    ASSERT_TRUE(CheckNowShowsResults());
    ASSERT_TRUE(host_->Run("click 2"));
    EXPECT_EQ(OpenResults(), nullptr);
    EXPECT_EQ(host_->Launched().size(), launches);
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
}

TEST_F(UpdateCheck, AnAutomaticCheckWithinFourteenDaysDoesNothing)
{
    std::string const last = DaysAgo(13.9);
    WriteOwnSettings({{"AutoUpdate", "1"}, {LastCheckKey(), last}});
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    Menu(kAbout);
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_TRUE(server_->RequestTargets().empty());
    EXPECT_EQ(OpenResults(), nullptr);
    EXPECT_EQ(OwnSettings()[LastCheckKey()], last);
}

TEST_F(UpdateCheck, AnAutomaticCheckAfterFourteenDaysShowsANewerRelease)
{
    WriteOwnSettings({{"AutoUpdate", "1"}, {LastCheckKey(), DaysAgo(14.01)}});
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    Menu(kAbout);
    ASSERT_TRUE(RunUntil([&] { return ShownResults() != nullptr; }));
    EXPECT_EQ(ItemText(*ShownResults(), 4), With(Text(81), "ADDONNAME", kName));
    EXPECT_TRUE(CheckedRecently());
    EXPECT_EQ(server_->RequestTargets(), (std::vector<std::string>{"/update_plugins/versions16.txt"}));
}

TEST_F(UpdateCheck, AnAutomaticCheckWithNothingNewerStaysSilent)
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
}

class UpdateCheckSwitchedOff : public UpdateCheck, public ::testing::WithParamInterface<const char*> {};

TEST_P(UpdateCheckSwitchedOff, NeverChecksAndLeavesTheMarkOff)
{
    WriteOwnSettings({{"AutoUpdate", GetParam()}});
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    EXPECT_FALSE(MenuChecked(kAutoCheck));
    Menu(kAbout);
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_TRUE(server_->RequestTargets().empty());
    EXPECT_EQ(OwnSettings()["AutoUpdate"], GetParam());
}

INSTANTIATE_TEST_SUITE_P(OffOrUnknown, UpdateCheckSwitchedOff, ::testing::Values("0", "2", "yes"));

TEST_F(UpdateCheck, TheMenuItemTogglesTheMarkAndTheSetting)
{
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_TRUE(MenuChecked(kAutoCheck));
    Menu(kAutoCheck);
    EXPECT_FALSE(MenuChecked(kAutoCheck));
    EXPECT_EQ(OwnSettings()["AutoUpdate"], "0");
    Menu(kAutoCheck);
    EXPECT_TRUE(MenuChecked(kAutoCheck));
    EXPECT_EQ(OwnSettings()["AutoUpdate"], "1");
    EXPECT_TRUE(host_->RunUntilIdle());
    EXPECT_TRUE(server_->RequestTargets().empty()) << "switching off on first use leaves no check behind";
}

// Every failure the user sees is the one alert with string 33.
class UpdateCheckFailure : public UpdateCheck {
protected:
    void ExpectOneAlert()
    {
        ASSERT_TRUE(RunUntil([&] { return AlertPending(); }));
        EXPECT_TRUE(AlertShown(Text(33)));
        EXPECT_TRUE(NoAlert());
    }
};

TEST_F(UpdateCheckFailure, ADownloadThatCannotStart)
{
    ASSERT_NO_FATAL_FAILURE(Load("ftp://127.0.0.1:9"));
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(OpenResults(), nullptr);
    EXPECT_EQ(OwnSettings().count(LastCheckKey()), 0u) << "a check that never started does not count";
}

TEST_F(UpdateCheckFailure, ARefusedConnectionClosesTheDialog)
{
    kftest::RefusingPort const refusing;
    ASSERT_NO_FATAL_FAILURE(Load(refusing.Url()));
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(OpenResults(), nullptr);
    EXPECT_TRUE(CheckedRecently()) << "a failed check counts for the interval";
}

TEST_F(UpdateCheckFailure, AServerThatNeverAnswersWithinTheLimit)
{
    WriteOwnSettings({{"AutoUpdate", "1"}});
    downloadLimit_ = 1;
    ASSERT_NO_FATAL_FAILURE(Load(server_->BaseUrl() + "/test/hang"));
    Menu(kAbout); // an automatic check fails aloud too
    EXPECT_TRUE(AlertShown("OBT 1.2.0.3 (HV170) 15/03/2013"));
    host_->ClearTranscript();
    ExpectOneAlert();
    EXPECT_EQ(OpenResults(), nullptr);
}

TEST_F(UpdateCheckFailure, ACopyThatCannotBeOpenedAfterTheDownload)
{
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load(server_->BaseUrl() + "/test/slow"));
    // The download goes to a file beside the copy, which it replaces at the end.
    host_->Faults().Fail(kfhost::FileOp::Open, "*__updcf__.tmp", KF_IOERR_ACCESSDENIED);
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(ShownResults(), nullptr);
}

// A disk that takes no more bytes: the check says it failed, never "You have the latest version".
TEST_F(UpdateCheckFailure, AWriteRefusedByTheDiskIsAFailure)
{
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    host_->Faults().Fail(kfhost::FileOp::Write, "*__updcf__.tmp.*.kftmp", IO::DiskFull, -1);
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(ShownResults(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(VersionsCopy()));
}

TEST_F(UpdateCheckFailure, AFullFileSystemIsAFailure)
{
    SmallDisk disk(framework_.Path(), 64 * 1024);
    if (!disk.Mounted())
        GTEST_SKIP() << disk.Why();
    ServeVersions(kNewer);
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_GT(disk.Fill(), 0u);
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(ShownResults(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(VersionsCopy()));
}

// ---- A hostile server or framework folder: the check fails loudly or answers right, and never
// writes through what was planted. ----

TEST_F(UpdateCheck, AByteThatIsNotTextSpoilsOnlyItsOwnLine)
{
    ServeVersions(With(kNewer, "Hello", "H\xe9llo \xff"));
    ASSERT_NO_FATAL_FAILURE(Load());
    ASSERT_TRUE(CheckNowShowsResults());
    EXPECT_EQ(ItemText(*ShownResults(), 4), With(Text(81), "ADDONNAME", kName));
}

TEST_F(UpdateCheckFailure, AnErrorStatusOrAnOversizedFileIsAFailure)
{
    ASSERT_NO_FATAL_FAILURE(Load(server_->BaseUrl() + "/no/such/place"));
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(ShownResults(), nullptr);

    host_->ClearTranscript();
    ServeVersions(std::string(kNewer) + std::string(5u << 20, '*'));
    ASSERT_NO_FATAL_FAILURE(Load());
    Menu(kCheckNow);
    ExpectOneAlert();
    EXPECT_EQ(ShownResults(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(VersionsCopy())) << "no partial copy stays";
}

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
