// Shared pieces of the settings and language tests: a hosted framework folder with both stores
// forgotten, and byte helpers for the scrambled files.
#pragma once

#include "kftest/InProcessHost.hpp"
#include "settings/KF_SettingsFormat.hpp"
#include "settings/KF_SettingsState.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace kftest_settings {

inline std::string Scrambled(std::string bytes)
{
    detail::KF_Settings_SwapHalves(bytes.data(), bytes.size());
    return bytes;
}

inline std::string Utf8(KF_String const& text)
{
    KF_CString const bytes = text.ToCStr(KF_String::Enc_UTF8);
    std::string out = bytes.bytes != nullptr ? std::string(bytes.bytes, bytes.length) : std::string();
    while (!out.empty() && out.back() == '\0') {
        out.pop_back();
    }
    return out;
}

inline KF_String S(char const* text)
{
    return KF_String(text, KF_String::Enc_System);
}

// Each test starts as a fresh load of the add-on would: empty stores, nothing loaded, and a new
// framework folder.
class HostedStores : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.Attach();
        detail::KF_AddonSettings_Forget(KF_AddonSettings_AllAddons);
        detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
    }
    void TearDown() override
    {
        detail::KF_AddonSettings_Forget(KF_AddonSettings_AllAddons);
        detail::KF_AddonSettings_Forget(KF_AddonSettings_ThisAddon);
    }

    std::filesystem::path SharedFile() const { return host.FrameworkFolder() / "Quadrelle.cfg"; }
    std::filesystem::path OwnFile() const { return host.FrameworkFolder() / "TestAddOn.cfg"; }
    void WritePlain(std::filesystem::path const& file, std::string const& plain)
    {
        kftest::WriteFile(file, Scrambled(plain));
    }
    std::string ReadPlain(std::filesystem::path const& file) const { return Scrambled(kftest::ReadFile(file)); }

    kftest::InProcessHost host;
};

} // namespace kftest_settings
