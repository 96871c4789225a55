// The outcome of each check of each bundle, and the forms it is written in: the summary for
// people, JSON and JUnit XML for CI systems.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
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

struct ChildOutcome;
// The result of a check from its process: its report lines, and a crash, a hang or an early end
// laid at the door of the add-on and the call named last.
CheckResult ResultOf(const std::string& bundle, std::string_view check, const ChildOutcome& outcome, double timeout);

void WriteSummary(std::ostream& out, const RunInfo& info, const std::vector<CheckResult>& results, bool verbose);
bool WriteJson(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results);
bool WriteJUnit(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results);

} // namespace kfhost::validate
