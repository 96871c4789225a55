// The parent's side of a validation: the checks of a bundle run in forked children, several at a
// time; a call that crashed or hung is left out by the check that met it (it starts again without
// it) and by every check started later; each finding is reported by the first check, in the
// checks' order, that met it.
#pragma once

#include "Report.hpp"
#include "Validation.hpp"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace kfhost::validate {

struct RunOptions {
    int strictness = 5;
    double callSeconds = 5;
    double callBudget = 0;
    int jobs = 1; // checks at a time
};

// What the checks of one bundle share within a round.
struct BundleRun {
    std::map<std::string, std::string> knownBad; // call's key -> why it is left out
    std::map<std::string, std::string> foundBy;  // finding's key -> the check that reports it
};

// Runs the checks on bundle and answers their results in the order given. Findings already in
// run.foundBy (from checks run before) are not reported again.
std::vector<CheckResult> RunChecks(const std::string& bundle, std::span<const CheckInfo* const> checks,
                                   std::uint64_t seed, const RunOptions& options, BundleRun& run);

} // namespace kfhost::validate
