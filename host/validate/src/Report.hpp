// The outcome of each check of each bundle, and the forms it is written in: the summary for
// people, JSON and JUnit XML for CI systems.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace kfhost::validate {

struct CheckResult {
    enum class Status { Pass, Fail, Skip };
    std::string bundle;
    std::string addOn; // empty until known
    std::string check;
    int round = 1;
    Status status = Status::Pass;
    double seconds = 0;
    std::vector<std::string> failures;
    std::vector<std::string> warnings;
    std::vector<std::string> notes;
    std::string output; // the end of what the check's process printed, kept when it failed
};

struct RunInfo {
    int strictness = 5;
    unsigned long long seed = 0;
    int rounds = 1;
};

void WriteSummary(std::ostream& out, const RunInfo& info, const std::vector<CheckResult>& results, bool verbose);
bool WriteJson(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results);
bool WriteJUnit(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results);

} // namespace kfhost::validate
