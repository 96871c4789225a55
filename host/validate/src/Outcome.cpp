// What a check's process said and how it ended, turned into the check's result.
#include "ChildProcess.hpp"
#include "Report.hpp"

#include <string.h>

#include <cstdio>
#include <regex>

namespace kfhost::validate {

namespace {

std::string SignalName(int signal)
{
    const char* abbrev = ::sigabbrev_np(signal);
    return abbrev ? "SIG" + std::string(abbrev) : "signal " + std::to_string(signal);
}

// A sanitizer catches a crash itself and ends the process with a status of its own; its report
// names what happened ("AddressSanitizer: SEGV on unknown address" becomes SIGSEGV).
std::string SanitizerFinding(const std::string& output)
{
    static const std::regex pattern(R"((AddressSanitizer|LeakSanitizer|UndefinedBehaviorSanitizer): ([A-Za-z-]+))");
    std::smatch match;
    if (!std::regex_search(output, match, pattern))
        return {};
    const std::string what = match[2];
    for (const char* signal : {"SEGV", "BUS", "FPE", "ILL", "ABRT"})
        if (what == signal)
            return "SIG" + what;
    return match[1].str() + ": " + what;
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
        case 'F':
            result.failures.push_back(text);
            break;
        case 'W':
            result.warnings.push_back(text);
            break;
        case 'N':
            result.notes.push_back(text);
            break;
        case 'S':
            skips.push_back(text);
            break;
        case 'A':
            result.addOn = text;
            break;
        case 'C':
            call = text;
            break;
        case 'D':
            done = true;
            break;
        default:
            break;
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
    else if (const std::string sanitizer = SanitizerFinding(outcome.output); !sanitizer.empty())
        result.failures.push_back("crashed with " + sanitizer + where);
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
