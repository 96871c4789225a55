// The outcome of each check of each bundle, and the forms it is written in: the summary for
// people, JSON and JUnit XML for CI systems. Whatever an add-on or a path holds (bytes that are no
// UTF-8, control characters, markup), every form stays well formed and no escape sequence reaches
// a terminal raw.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
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
    std::vector<std::pair<std::string, double>> times; // how long each call took, in seconds
    std::string output; // the end of what the check's process printed, kept when it failed
};

struct RunInfo {
    int strictness = 5;
    unsigned long long seed = 0;
    int rounds = 1;
    double callSeconds = 5; // the limit of one call
    double callBudget = 0;  // a slower call fails; 0: none
};

// One failure: its key says which findings are the same one.
struct Finding {
    std::string key;
    std::string text;
};

// What one process of a check reported, and how it ended.
struct Attempt {
    std::vector<Finding> failures;
    std::vector<std::string> warnings, notes, skips;
    std::vector<std::pair<std::string, double>> times;
    std::vector<std::pair<std::string, std::string>> leaveOut; // call, why
    std::string addOn;
    char callKind = 0; // of the last call started: C, U or T
    std::string call;
    std::string callKey;     // of a U or T call; the step itself for C
    std::string abnormalKey; // the same crash or hang of the same call, whatever the menu's language
    std::string abnormalWhy; // said short, for the checks that leave the call out: "it hangs"
    bool done = false;
    std::string abnormal; // a crash, a hang or an early end, said as a finding; empty when none
    std::string output;   // kept when abnormal
    double seconds = 0;
};

struct ChildOutcome;
Attempt ParseAttempt(const ChildOutcome& outcome, double callSeconds);

void WriteSummary(std::ostream& out, const RunInfo& info, const std::vector<CheckResult>& results, bool verbose);
bool WriteJson(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results);
bool WriteJUnit(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results);

// Text as a terminal may show it: valid UTF-8 passes, other bytes and control characters (C0, DEL,
// C1) are written as \xNN or \uNNNN, a tab as \t; line ends are kept only when keepLines.
std::string Printable(std::string_view text, bool keepLines = false);

} // namespace kfhost::validate
