// Puts an add-on's resources into its bundle at build time: every source file is read with the
// host's own reader first, so that a mistake is reported against the file the developer edits,
// never against the copy in the bundle.
#pragma once

#include "ResourceCheck.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace kfhost {

struct StageRequest {
    std::vector<std::filesystem::path> sources; // folders, in order; a later file of the same
                                                // relative path replaces an earlier one
    std::filesystem::path frameworkPack;        // empty: no framework texts
    std::filesystem::path out;                  // <Name>.bundle/Resources, replaced as a whole
};

struct StageResult {
    std::vector<std::filesystem::path> read; // every file and folder looked at (a depfile's list)
    std::vector<std::string> packSkipped;    // framework resources the add-on brings itself
    std::vector<ResourceFinding> findings;   // of CheckResources, naming the source files
};

// The folder in the bundle that holds what the framework's pack adds.
inline constexpr const char* kFrameworkPackFolder = "KF_Framework";
// A file in the bundle's resources that names the source of each file ("path in the bundle" TAB
// "source file", one a line), so that the validator can point at the file the developer edits.
inline constexpr const char* kSourcesFile = ".kfsources";

// Throws ResourceError (file:line:column of a source file) or std::runtime_error; what the checks
// of CheckResources find is answered in the result.
StageResult StageResources(const StageRequest& request);

} // namespace kfhost
