// A hosted framework folder with both stores as a fresh load of the add-on has them.
#pragma once

#include "kftest/SettingsFiles.hpp"
#include "kftest/Text.hpp"
#include "kftest/InProcessHost.hpp"
#include "KF_SettingsState.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <gtest/gtest.h>

class HostedStores : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.Attach();
        Forget();
    }
    void TearDown() override { Forget(); }
    static void Forget()
    {
        kf::detail::KF_AddonSettings_Forget(KF_AddonSettings_AllAddons);
        kf::detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
    }

    std::filesystem::path SharedFile() const { return host.FrameworkFolder() / "Quadrelle.cfg"; }
    std::filesystem::path OwnFile() const { return host.FrameworkFolder() / "TestAddOn.cfg"; }
    void WritePlain(const std::filesystem::path& file, const std::string& plain)
    {
        kftest::WriteFile(file, kftest::Scrambled(plain));
    }
    std::string ReadPlain(const std::filesystem::path& file) const { return kftest::Scrambled(kftest::ReadFile(file)); }

    kftest::InProcessHost host;
};
