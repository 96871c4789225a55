// Runs the kfhost program on Orvella Forge as a person would, in a scratch framework folder, and
// reads back what the run left on disk.
#pragma once

#include "kftest/InProcessHost.hpp"
#include "kftest/SettingsFiles.hpp"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kftest {

namespace fs = std::filesystem;

// Built paths, baked in by the build.
inline const fs::path kForge = KF_TEST_FORGE_BUNDLE;
inline const fs::path kSuite = KF_TEST_SUITE_BUNDLE;
inline const fs::path kProbe = KF_TEST_PROBE_BUNDLE;

struct HostRun {
    int status = -1;        // exit status; 128 + the signal when one ended it
    std::string transcript; // standard output and error together
};

class Workspace {
public:
    Workspace() { fs::create_directories(Framework()); }
    fs::path Framework() const { return temp_.Path() / "framework"; }
    // kfhost on the bundles with this framework folder; a script name without a folder is one of
    // the checked-in scripts, "" runs none. Scripts run --strict unless a test provokes warnings.
    HostRun Run(const std::vector<fs::path>& bundles, const fs::path& script,
                const std::vector<std::string>& extra = {}) const;
    fs::path WriteScript(const std::vector<std::string>& lines) const;
    // A copy of the bundle in the workspace, for a test to alter.
    fs::path CopyBundle(const fs::path& bundle) const;

    bool strict = true;

private:
    kftest::TempFolder temp_;
};

inline fs::path SharedStore(const Workspace& w)
{
    return w.Framework() / "Quadrelle.cfg";
}
std::string StoredLanguage(const Workspace& w); // "" when none
inline void StoreLanguage(const Workspace& w, const std::string& suffix)
{
    WriteSettingsFile(SharedStore(w), {{"Language_str", suffix}});
}

inline const std::vector<std::string> kSuffixes = {"ita", "int", "fra", "ger", "spa", "jap", "rus"};

// String `index` of string list `list` in a bundle's resources, UTF-8; "" when missing.
std::string BundleString(const fs::path& bundle, int list, int index);
// Deletes string `index` of list `list` from a bundle copy's resource files.
void RemoveString(const fs::path& bundle, int list, int index);

int Count(const std::string& text, const std::string& needle);

} // namespace kftest
