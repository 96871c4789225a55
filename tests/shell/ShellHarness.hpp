// Runs the kfhost program on Orvella Forge the way a person would, in a folder of its own, and
// reads back what the run left on disk.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace shelltest {

namespace fs = std::filesystem;

// Built paths, baked in by the build.
fs::path HostProgram();
fs::path ForgeBundle();
fs::path SuiteBundle();
fs::path ProbeBundle();
fs::path ScriptsFolder();

struct HostRun {
    int status = -1;         // exit status, or -1 when it did not exit normally
    std::string transcript;  // standard output and error together
};

// A scratch folder (removed at destruction) holding a framework folder and room for bundle copies.
class Workspace {
public:
    Workspace();
    ~Workspace();
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    const fs::path& Root() const { return root_; }
    fs::path Framework() const { return root_ / "framework"; }

    // kfhost with these bundles, this framework folder and the extra arguments; script is a file
    // name of the checked-in scripts folder or an absolute path, empty for none.
    HostRun Run(const std::vector<fs::path>& bundles, const std::string& script,
                const std::vector<std::string>& extra = {}) const;
    // Writes a script of the given lines into the workspace and answers its path.
    fs::path WriteScript(const std::string& name, const std::vector<std::string>& lines) const;
    // A copy of bundle under the workspace, to be altered by a test.
    fs::path CopyBundle(const fs::path& bundle) const;

private:
    fs::path root_;
};

// The family's settings file format: "$name: value\n" entries, every byte's halves swapped.
std::string SwapHalves(std::string bytes);
std::string ReadFile(const fs::path& file);
void WriteFile(const fs::path& file, const std::string& bytes);
// Decoded entries in file order; a malformed file gives a single entry named "<malformed>".
std::vector<std::pair<std::string, std::string>> ReadStore(const fs::path& file);
void WriteStore(const fs::path& file, const std::vector<std::pair<std::string, std::string>>& entries);

// The shared store of the family and the stored language in it ("" when none).
fs::path SharedStore(const Workspace& w);
std::string StoredLanguage(const Workspace& w);
void StoreLanguage(const Workspace& w, const std::string& suffix);

// Language suffixes in index order.
extern const std::vector<std::string> kSuffixes;

// Resource strings of a bundle, UTF-8, by list and index ("" when missing).
class BundleStrings {
public:
    explicit BundleStrings(const fs::path& bundle);
    std::string Get(int list, int index) const;
    bool Has(int list, int index) const;

private:
    std::map<std::pair<int, int>, std::string> strings_;
};

// Removes the lines "  <index> ..." of string list `list` from every .res file of the bundle copy.
void RemoveString(const fs::path& bundle, int list, int index);

// Counts the occurrences of needle in text.
int Count(const std::string& text, const std::string& needle);

} // namespace shelltest
