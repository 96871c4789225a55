// An in-process host with the framework attached as the add-on "Test", and libraries built on disk.
// Host locations the framework forgets to delete are left to the asan build's leak check.
#pragma once

#include "KF/KF_Language.hpp"
#include "KF/KF_String.hpp"
#include "kftest/InProcessHost.hpp"
#include "kftest/Text.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

namespace kftest {

namespace fs = std::filesystem;

// Framework strings 13 (folder prompt), 64 (alert button) and 85 (part not found), in English.
inline constexpr char kStrings[] = "strings 32711\n"
                                   "  13 \"Pick the library folder\"\n"
                                   "  64 \"OK\"\n"
                                   "  85 \"No such part\"\n"
                                   "end\n";

class HostTest : public ::testing::Test {
protected:
    void SetUp() override { gKF_Language = KF_Language_Int; }

    kftest::InProcessHost& Start(kfhost::HostConfig config = {})
    {
        host_ = std::make_unique<kftest::InProcessHost>(std::move(config));
        host_->AddResourceText(kStrings);
        host_->Attach("Test");
        return *host_;
    }
    kftest::InProcessHost& Host() { return *host_; }
    // Where the add-on's suite library folder is looked for.
    fs::path SuiteFolder() const { return host_->BundlePath("Test").parent_path() / "Tavolo_Library"; }

    // A library folder (under the fixture's own folder unless absolute) holding the given parts,
    // each a (file name, type) pair.
    fs::path Library(const fs::path& name, std::initializer_list<std::pair<std::string, std::string>> parts)
    {
        fs::path const folder = name.is_absolute() ? name : files_.Path() / name;
        fs::create_directories(folder);
        for (const auto& [file, type] : parts)
            kftest::WriteFile(folder / file, "type " + type + "\nbody\n");
        return folder;
    }
    bool TranscriptHas(const std::string& piece) const
    {
        return host_->TranscriptText().find(piece) != std::string::npos;
    }

    kftest::TempFolder files_;
    std::unique_ptr<kftest::InProcessHost> host_;
};

} // namespace kftest
