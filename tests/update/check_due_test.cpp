// The automatic check is due again exactly fourteen days after the last one, to the second.
#include "DownloadHarness.hpp"
#include "KF_AddonUpdateState.hpp"

#include "KF/KF_AddonSettings.hpp"
#include "KF/KF_AddonUpdate.hpp"
#include "KF/KF_Language.hpp"
#include "kftest/InProcessHost.hpp"
#include "kftest/Text.hpp"

#include <gtest/gtest.h>

#include <ctime>

TEST(CheckDue, ExactlyFourteenDaysAfterTheLastCheck)
{
    kftest::TempFolder served;
    kftest::WriteFile(served.Path() / "update_plugins/versions16.txt", "OBT 1.2.1.0 (HV170) 02/09/2013\n");
    const auto server = kftest::StartLoopbackServer(served.Path());
    kfhost::HostConfig config;
    config.updateServer = server->BaseUrl();
    kftest::InProcessHost host(config);
    host.AddResourceFolder(KF_UPDATE_EXAMPLE_RESOURCES);
    host.Attach();
    gKF_Language = 1;
    kf::detail::KF_AddonUpdate_State().status = 0;

    const KF_String line("OBT 1.2.0.3 (HV170) 15/03/2013");
    const KF_String key("LastUpdateCheck_170");
    constexpr std::time_t kFourteenDays = 14 * 24 * 3600;
    // The decision reads the clock once: it saw exactly fourteen days when no second began
    // between storing the time and the check's return. The rare run that straddles one goes again.
    bool seen = false;
    for (int attempt = 0; attempt < 100 && !seen; ++attempt) {
        const std::time_t now = std::time(nullptr);
        const std::string last = std::to_string(now - kFourteenDays);
        KF_AddonSettings_LoadSetSave(KF_AddonSettings_ThisAddon, key, KF_String(last.c_str()), true);
        EXPECT_TRUE(KF_AddonUpdate_CheckForUpdate(0, false, line, KF_String("")));
        seen = std::time(nullptr) == now;
        // A check that started wrote its own time in place of the last one.
        if (seen) {
            EXPECT_NE(kftest::Utf8(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, key, true)), last);
        }
        ASSERT_TRUE(host.RunUntilIdle()) << "the check never ended";
    }
    EXPECT_TRUE(seen) << "no attempt ran within one second";
    server->Stop();
}
