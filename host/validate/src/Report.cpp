#include "Report.hpp"

#include "kfhost/Text.hpp"

#include <cstdio>
#include <fstream>
#include <map>

namespace kfhost::validate {

namespace {

// Calls emit(bytes, codePoint) for each character of text, and emit(byte, -1) for each byte that is
// not part of well-formed UTF-8 (the host's validated reader decides).
template <class Emit>
void ForEachCharacter(std::string_view text, Emit emit)
{
    while (!text.empty()) {
        const std::size_t valid = FindInvalidUTF8(text).value_or(text.size());
        for (std::size_t i = 0; i < valid;) {
            const auto lead = static_cast<unsigned char>(text[i]);
            const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
            long codePoint = length == 1 ? lead : lead & (0x7F >> length);
            for (std::size_t k = 1; k < length; ++k)
                codePoint = codePoint << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
            emit(text.substr(i, length), codePoint);
            i += length;
        }
        if (valid < text.size())
            emit(text.substr(valid, 1), -1L);
        text.remove_prefix(std::min(text.size(), valid + 1));
    }
}

bool IsControl(long codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

std::string Hex(const char* format, long value)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, format, static_cast<unsigned>(value));
    return buf;
}

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

// A JSON string: valid UTF-8, every control character escaped, bytes that are no UTF-8 as U+FFFD.
std::string JsonString(std::string_view text)
{
    std::string out = "\"";
    ForEachCharacter(text, [&](std::string_view bytes, long codePoint) {
        if (codePoint < 0)
            out += "\xEF\xBF\xBD";
        else if (codePoint == '"')
            out += "\\\"";
        else if (codePoint == '\\')
            out += "\\\\";
        else if (codePoint == '\n')
            out += "\\n";
        else if (IsControl(codePoint))
            out += Hex("\\u%04x", codePoint);
        else
            out += bytes;
    });
    return out + "\"";
}

std::string JsonList(const std::vector<std::string>& items)
{
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i)
        out += (i ? ", " : "") + JsonString(items[i]);
    return out + "]";
}

// Text for XML 1.0 content and attributes: markup escaped, characters XML cannot carry even as
// references (controls, U+FFFE, U+FFFF) written visibly, bytes that are no UTF-8 as U+FFFD.
std::string Xml(std::string_view text)
{
    std::string out;
    ForEachCharacter(text, [&](std::string_view bytes, long codePoint) {
        switch (codePoint) {
        case -1:
            out += "\xEF\xBF\xBD";
            break;
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
        case '\n':
            out += "&#10;";
            break;
        case '\t':
            out += "&#9;";
            break;
        default:
            if (IsControl(codePoint) || codePoint == 0xFFFE || codePoint == 0xFFFF)
                out += Hex("\\u%04x", codePoint);
            else
                out += bytes;
        }
    });
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

std::string Printable(std::string_view text, bool keepLines)
{
    std::string out;
    ForEachCharacter(text, [&](std::string_view bytes, long codePoint) {
        if (codePoint < 0)
            out += Hex("\\x%02x", static_cast<unsigned char>(bytes[0]));
        else if (codePoint == '\n' && keepLines)
            out += '\n';
        else if (codePoint == '\t')
            out += "\\t";
        else if (codePoint < 0x80 && IsControl(codePoint))
            out += Hex("\\x%02x", codePoint);
        else if (IsControl(codePoint))
            out += Hex("\\u%04x", codePoint);
        else
            out += bytes;
    });
    return out;
}

void WriteSummary(std::ostream& out, const RunInfo& info, const std::vector<CheckResult>& results, bool verbose)
{
    int passed = 0, failed = 0, skipped = 0;
    std::map<std::string, std::string> names; // bundle -> add-on, from whichever check learnt it
    for (const CheckResult& r : results)
        if (!r.addOn.empty())
            names[r.bundle] = r.addOn;
    // The slowest call of each bundle and round, said once under its checks.
    std::map<std::pair<std::string, int>, std::pair<std::string, double>> slowest;
    for (const CheckResult& r : results)
        for (const auto& [call, seconds] : r.times) {
            auto& slot = slowest[{r.bundle, r.round}];
            if (seconds >= slot.second)
                slot = {call, seconds};
        }
    auto sayTimes = [&](const CheckResult& r) {
        const auto it = slowest.find({r.bundle, r.round});
        if (it == slowest.end())
            return;
        char line[64];
        std::snprintf(line, sizeof line, "%.1f ms", it->second.second * 1000.0);
        out << "  slowest call: " << Printable(it->second.first) << ", " << line
            << (info.callBudget > 0 ? " (--call-budget " + Seconds(info.callBudget) + " s)" : " (no --call-budget)")
            << "\n";
    };
    std::string heading;
    const CheckResult* last = nullptr;
    for (const CheckResult& r : results) {
        const auto name = names.find(r.bundle);
        const std::string now = (info.rounds > 1 ? "round " + std::to_string(r.round) + ": " : std::string()) +
                                (name == names.end() ? std::string() : "\"" + name->second + "\" ") + r.bundle;
        if (now != heading) {
            if (last)
                sayTimes(*last);
            heading = now;
            out << Printable(heading) << "\n";
        }
        last = &r;
        char line[128];
        std::snprintf(line, sizeof line, "  %-5s %-13s %7.2f s",
                      r.status == CheckResult::Status::Pass   ? "PASS"
                      : r.status == CheckResult::Status::Fail ? "FAIL"
                                                              : "SKIP",
                      Printable(r.check).c_str(), r.seconds);
        out << line << "\n";
        for (const auto& f : r.failures)
            out << "        " << Printable(f) << "\n";
        // The calls a check left out qualify what it says, whatever it says.
        for (const auto& n : r.notes)
            if (r.status == CheckResult::Status::Skip || (!verbose && n.starts_with("left out ")))
                out << "        " << Printable(n) << "\n";
        for (const auto& w : r.warnings)
            out << "        warning: " << Printable(w) << "\n";
        if (verbose && r.status != CheckResult::Status::Skip) {
            for (const auto& n : r.notes)
                out << "        " << Printable(n) << "\n";
            for (const auto& [call, seconds] : r.times) {
                std::snprintf(line, sizeof line, "%.1f ms", seconds * 1000.0);
                out << "        " << Printable(call) << ": " << line << "\n";
            }
        }
        if (!r.output.empty() && r.status == CheckResult::Status::Fail) {
            std::string output = Printable(r.output, true);
            if (output.back() != '\n')
                output += '\n';
            out << "        its output ended with:\n" << output;
        }
        (r.status == CheckResult::Status::Pass ? passed : r.status == CheckResult::Status::Fail ? failed : skipped)++;
    }
    if (last)
        sayTimes(*last);
    char limit[32];
    std::snprintf(limit, sizeof limit, "%g", info.callSeconds);
    out << "strictness " << info.strictness << ", seed " << info.seed << ", a call may take " << limit
        << " s (--timeout): " << passed << " passed, " << failed << " failed, " << skipped << " skipped\n";
}

bool WriteJson(const std::filesystem::path& file, const RunInfo& info, const std::vector<CheckResult>& results)
{
    std::ofstream out(file);
    out << "{\n  \"strictness\": " << info.strictness << ",\n  \"seed\": " << info.seed
        << ",\n  \"call_timeout_seconds\": " << info.callSeconds << ",\n  \"call_budget_seconds\": " << info.callBudget
        << ",\n  \"checks\": [";
    for (std::size_t i = 0; i < results.size(); ++i) {
        const CheckResult& r = results[i];
        out << (i ? ",\n" : "\n") << "    {\"bundle\": " << JsonString(r.bundle)
            << ", \"addon\": " << JsonString(r.addOn) << ", \"check\": " << JsonString(r.check)
            << ", \"round\": " << r.round << ", \"status\": " << JsonString(StatusName(r.status))
            << ", \"seconds\": " << Seconds(r.seconds) << ",\n     \"failures\": " << JsonList(r.failures)
            << ", \"warnings\": " << JsonList(r.warnings) << ", \"notes\": " << JsonList(r.notes)
            << ",\n     \"call_seconds\": {";
        for (std::size_t k = 0; k < r.times.size(); ++k)
            out << (k ? ", " : "") << JsonString(r.times[k].first) << ": " << Seconds(r.times[k].second);
        out << "}, \"output\": " << JsonString(r.output) << "}";
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
