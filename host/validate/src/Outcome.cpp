// What a check's process said and how it ended.
#include "ChildProcess.hpp"
#include "Report.hpp"
#include "Validation.hpp"

#include <string.h>

#include <cstdio>
#include <cstdlib>
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

std::string Seconds(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", seconds);
    return text;
}

} // namespace

Attempt ParseAttempt(const ChildOutcome& outcome, double callSeconds)
{
    Attempt attempt;
    attempt.seconds = outcome.seconds;
    for (const std::string& line : outcome.reportLines) {
        if (line.empty())
            continue;
        const std::string text = line.size() > 2 ? line.substr(2) : std::string();
        switch (line[0]) {
        case 'F': {
            const std::size_t separator = text.find(kKeySeparator);
            if (separator == std::string::npos)
                attempt.failures.push_back({text, text});
            else
                attempt.failures.push_back({text.substr(0, separator), text.substr(separator + 1)});
            break;
        }
        case 'W':
            attempt.warnings.push_back(text);
            break;
        case 'N':
            attempt.notes.push_back(text);
            break;
        case 'S':
            attempt.skips.push_back(text);
            break;
        case 'A':
            attempt.addOn = text;
            break;
        case 'C':
        case 'U':
        case 'T': {
            std::string_view call = text;
            TakeCallStamp(call);
            const std::size_t tab = call.find('\t');
            attempt.callKind = line[0];
            attempt.call = std::string(call.substr(0, tab));
            attempt.callKey = std::string(tab == std::string_view::npos ? call : call.substr(tab + 1));
            break;
        }
        case 'M': {
            const std::size_t tab = text.rfind('\t');
            if (tab != std::string::npos)
                attempt.times.emplace_back(text.substr(0, tab), std::strtod(text.c_str() + tab + 1, nullptr));
            break;
        }
        case 'X': {
            const std::size_t tab = text.find('\t');
            if (tab != std::string::npos)
                attempt.leaveOut.emplace_back(text.substr(0, tab), text.substr(tab + 1));
            break;
        }
        case 'D':
            attempt.done = true;
            break;
        default:
            break;
        }
    }
    const std::string during = attempt.callKind == 'T' ? "the timers and downloads of " + attempt.call : attempt.call;
    const std::string where = (attempt.addOn.empty() ? std::string() : " in \"" + attempt.addOn + "\"") +
                              (during.empty() ? std::string() : " during " + during);
    std::string how;
    if (outcome.timedOut) {
        how = "did not finish within " + Seconds(callSeconds) + " s: it hangs";
        attempt.abnormalWhy = "it hangs";
    } else if (outcome.signal != 0) {
        how = "crashed with " + SignalName(outcome.signal);
        attempt.abnormalWhy = "it crashes";
    } else if (!outcome.exited || outcome.exitStatus != 0 || !attempt.done) {
        const std::string sanitizer = SanitizerFinding(outcome.output);
        how = !sanitizer.empty()
                  ? "crashed with " + sanitizer
                  : "ended with exit status " + std::to_string(outcome.exitStatus) + " before the check was done";
        attempt.abnormalWhy = !sanitizer.empty() ? "it crashes" : "it ends the process";
    }
    if (!how.empty()) {
        attempt.abnormal = how + where;
        attempt.abnormalKey = how + " (" + (attempt.callKind == 'T' ? "timers of " : "") + attempt.callKey + ")";
    }
    if (!attempt.abnormal.empty())
        attempt.output = outcome.output;
    return attempt;
}

} // namespace kfhost::validate
