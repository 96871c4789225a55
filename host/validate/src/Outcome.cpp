// What a check's process said and how it ended, turned into the check's result.
#include "ChildProcess.hpp"
#include "Report.hpp"

#include <string.h>

#include <cstdio>

namespace kfhost::validate {

namespace {

std::string SignalName(int signal)
{
    const char* abbrev = ::sigabbrev_np(signal);
    return abbrev ? "SIG" + std::string(abbrev) : "signal " + std::to_string(signal);
}

} // namespace

CheckResult ResultOf(const std::string& bundle, std::string_view check, const ChildOutcome& outcome, double timeout)
{
    CheckResult result;
    result.bundle = bundle;
    result.check = std::string(check);
    result.seconds = outcome.seconds;
    std::string call;
    bool done = false;
    std::vector<std::string> skips;
    for (const std::string& line : outcome.reportLines) {
        if (line.size() < 1)
            continue;
        const std::string text = line.size() > 2 ? line.substr(2) : std::string();
        switch (line[0]) {
        case 'F': result.failures.push_back(text); break;
        case 'W': result.warnings.push_back(text); break;
        case 'N': result.notes.push_back(text); break;
        case 'S': skips.push_back(text); break;
        case 'A': result.addOn = text; break;
        case 'C': call = text; break;
        case 'D': done = true; break;
        default: break;
        }
    }
    const std::string where = (result.addOn.empty() ? std::string() : " in \"" + result.addOn + "\"") +
                              (call.empty() ? std::string() : " during " + call);
    char limit[32];
    std::snprintf(limit, sizeof limit, "%g", timeout);
    if (outcome.timedOut)
        result.failures.push_back(std::string("did not finish within ") + limit + " s: it hangs" + where);
    else if (outcome.signal != 0)
        result.failures.push_back("crashed with " + SignalName(outcome.signal) + where);
    else if (!outcome.exited || outcome.exitStatus != 0 || !done)
        result.failures.push_back("ended with exit status " + std::to_string(outcome.exitStatus) +
                                  " before the check was done" + where);
    if (!result.failures.empty()) {
        result.status = CheckResult::Status::Fail;
        result.output = outcome.output;
    } else if (!skips.empty()) {
        result.status = CheckResult::Status::Skip;
        result.notes.insert(result.notes.begin(), skips.begin(), skips.end());
    }
    return result;
}

} // namespace kfhost::validate
