// Orvella Forge linked into the test: each of the five language menus' handlers answers for its own
// menu resource. The host registers only one of them, so a script cannot reach the others.
#include "kftest/InProcessHost.hpp"
#include "kftest/SettingsFiles.hpp"

#include <gtest/gtest.h>

namespace {

TEST(MenuHandlers, EachLanguageMenuOpensTheMainDialog)
{
    kftest::InProcessHost host;
    host.AddResourceFolder(KF_ADDON_RESOURCES);
    kftest::WriteFile(host.FrameworkFolder() / "Quadrelle.cfg", kftest::Scrambled("$Language_str: int\n"));
    ASSERT_TRUE(host.Load(kftest::LinkedEntryPoints(), "OrvellaForge").Loaded());
    for (std::int16_t menu = 32500; menu <= 32504; ++menu) {
        host.Queue("expect dialog 32500\nclick 2");
        EXPECT_EQ(host.Menu(menu, 1, false), 0) << menu;
        EXPECT_EQ(host.PendingLines(), 0u) << menu;
    }
    EXPECT_TRUE(host.ScriptOk()) << ::testing::PrintToString(host.Failures());
    EXPECT_EQ(host.Menu(32505, 1, false), KF_APIERR_BADID) << "no handler for another menu";
}

} // namespace
