// The example add-on in an in-process host, its update server on loopback, and the files it keeps
// in the framework folder.
#pragma once

#include "UpdateServer.hpp"
#include "kftest/InProcessHost.hpp"
#include "kftest/SettingsFiles.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace kftest {

std::string ToUtf8(const std::u16string& text);
// text with every what replaced by by.
std::string With(std::string text, const std::string& what, const std::string& by);

// The example's framework strings by index in a language (1: international).
std::string ExampleText(const kfhost::ResourceModule& resources, int index, int language = 1);
std::string ItemText(const kfhost::Dialog& dialog, short item);
bool Visible(const kfhost::Dialog& dialog, short item);
bool Enabled(const kfhost::Dialog& dialog, short item);

class AddOnHost : public ::testing::Test {
protected:
    static constexpr short kMenu = 32601;
    static constexpr short kCheckNow = 1;
    static constexpr short kAutoCheck = 2;
    static constexpr short kAbout = 3;

    AddOnHost();
    ~AddOnHost() override;

    // Loads the example bundle; updateServer empty: the loopback server.
    void Load(const std::string& updateServer = {});
    void ServeVersions(const std::string& text);
    void WriteOwnSettings(const SettingsEntries& entries);
    std::map<std::string, std::string> OwnSettings() const;
    std::filesystem::path VersionsCopy() const;

    std::int32_t Menu(short item) { return host_->Host().MenuCommand(kMenu, item).code; }
    bool MenuChecked(short item);
    bool RunUntil(const std::function<bool()>& pred) { return host_->RunUntil(pred); }
    // A results dialog while open, shown or not, or one that is shown.
    kfhost::Dialog* OpenResults(bool shownOnly = false);
    kfhost::Dialog* ShownResults() { return OpenResults(true); }
    std::string Text(int index, int language = 1) const { return ExampleText(resources_, index, language); }
    bool AlertShown(const std::string& text);
    bool NoAlert();

    static std::string LastCheckKey() { return "LastUpdateCheck_170"; }

    kftest::TempFolder served_;
    kftest::TempFolder framework_;
    std::unique_ptr<kfupd::UpdateServer> server_;
    std::unique_ptr<kftest::InProcessHost> host_;
    kfhost::ResourceModule resources_;
};

} // namespace kftest
