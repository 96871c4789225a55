#include "Report.hpp"

#include <cstdio>
#include <fstream>
#include <map>

namespace kfhost::validate {

namespace {

const char* StatusName(CheckResult::Status status)
{
    switch (status) {
    case CheckResult::Status::Pass:
        return "pass";
    case CheckResult::Status::Fail:
        return "fail";
    case CheckResult::Status::Skip:
        return "skipped";
    }
    return "?";
}

std::string Seconds(double seconds)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.3f", seconds);
    return buf;
}

std::string JsonString(std::string_view text)
{
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::string JsonList(const std::vector<std::string>& items)
{
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i)
        out += (i ? ", " : "") + JsonString(items[i]);
    return out + "]";
}

std::string Xml(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '&':
            out += "&amp;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            if (static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t')
                out += c;
        }
    }
    return out;
}

std::string Lines(const std::vector<std::string>& items)
{
    std::string out;
    for (const auto& item : items)
        out += item + "\n";
    return out;
}

} // namespace

void WriteSummary(std::ostream& out, const RunInfo& info, const std::vector<CheckResult>& results, bool verbose)
{
    int passed = 0, failed = 0, skipped = 0;
    std::map<std::string, std::string> names; // bundle -> add-on, from whichever check learnt it
    for (const CheckResult& r : results)
        if (!r.addOn.empty())
            names[r.bundle] = r.addOn;
    std::string bundle;
    for (const CheckResult& r : results) {
        const auto name = names.find(r.bundle);
        const std::string heading = (info.rounds > 1 ? "round " + std::to_string(r.round) + ": " : std::string()) +
                                    (name == names.end() ? std::string() : "\"" + name->second + "\" ") + r.bundle;
        if (heading != bundle) {
            bundle = heading;
            out << heading << "\n";
        }
        char line[128];
        std::snprintf(line, sizeof line, "  %-5s %-13s %7.2f s",
                      r.status == CheckResult::Status::Pass   ? "PASS"
                      : r.status == CheckResult::Status::Fail ? "FAIL"
                                                              : "SKIP",
                      r.check.c_str(), r.seconds);
        out << line << "\n";
        for (const auto& f : r.failures)
            out << "        " << f << "\n";
        if (r.status == CheckResult::Status::Skip)
            for (const auto& n : r.notes)
                out << "        " << n << "\n";
        for (const auto& w : r.warnings)
            out << "        warning: " << w << "\n";
        if (verbose && r.status != CheckResult::Status::Skip)
            for (const auto& n : r.notes)
                out << "        " << n << "\n";
        if (!r.output.empty() && r.status == CheckResult::Status::Fail)
            out << "        its output ended with:\n" << r.output;
        (r.status == CheckResult::Status::Pass ? passed : r.status == CheckResult::Status::Fail ? failed : skipped)++;
    }
    out << "strictness " << info.strictness << ", seed " << info.seed << ": " << passed << " passed, " << failed
        << " failed, " << skipped << " skipped\n";
}

bool WriteJson(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results)
{
    std::ofstream out(file);
    out << "{\n  \"strictness\": " << info.strictness << ",\n  \"seed\": " << info.seed << ",\n  \"checks\": [";
    for (std::size_t i = 0; i < results.size(); ++i) {
        const CheckResult& r = results[i];
        out << (i ? ",\n" : "\n") << "    {\"bundle\": " << JsonString(r.bundle)
            << ", \"addon\": " << JsonString(r.addOn) << ", \"check\": " << JsonString(r.check)
            << ", \"round\": " << r.round << ", \"status\": " << JsonString(StatusName(r.status))
            << ", \"seconds\": " << Seconds(r.seconds) << ",\n     \"failures\": " << JsonList(r.failures)
            << ", \"warnings\": " << JsonList(r.warnings) << ", \"notes\": " << JsonList(r.notes) << "}";
    }
    out << "\n  ]\n}\n";
    return bool(out);
}

bool WriteJUnit(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results)
{
    std::ofstream out(file);
    int failures = 0, skipped = 0;
    double total = 0;
    for (const CheckResult& r : results) {
        failures += r.status == CheckResult::Status::Fail;
        skipped += r.status == CheckResult::Status::Skip;
        total += r.seconds;
    }
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n<testsuite name=\"kfhost validate (strictness "
        << info.strictness << ", seed " << info.seed << ")\" tests=\"" << results.size() << "\" failures=\"" << failures
        << "\" skipped=\"" << skipped << "\" time=\"" << Seconds(total) << "\">\n";
    for (const CheckResult& r : results) {
        out << "  <testcase classname=\"" << Xml(r.bundle) << "\" name=\"" << Xml(r.check)
            << (info.rounds > 1 ? " round " + std::to_string(r.round) : std::string()) << "\" time=\""
            << Seconds(r.seconds) << "\">";
        if (r.status == CheckResult::Status::Fail)
            out << "\n    <failure message=\"" << Xml(r.failures.empty() ? "failed" : r.failures.front()) << "\">"
                << Xml(Lines(r.failures) + r.output) << "</failure>\n  ";
        else if (r.status == CheckResult::Status::Skip)
            out << "<skipped message=\"" << Xml(r.notes.empty() ? "" : r.notes.front()) << "\"/>";
        if (!r.notes.empty() || !r.warnings.empty())
            out << "<system-out>" << Xml(Lines(r.warnings) + Lines(r.notes)) << "</system-out>";
        out << "</testcase>\n";
    }
    out << "</testsuite>\n</testsuites>\n";
    return bool(out);
}

} // namespace kfhost::validate
