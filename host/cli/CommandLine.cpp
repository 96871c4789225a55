#include "CommandLine.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>

namespace kfhost::cli {
namespace {

std::vector<std::string> SplitNames(std::string_view names)
{
    std::vector<std::string> out;
    while (!names.empty()) {
        const std::size_t comma = names.find(',');
        out.emplace_back(names.substr(0, comma));
        names = comma == std::string_view::npos ? std::string_view() : names.substr(comma + 1);
    }
    return out;
}

template <class T>
bool ParseNumber(std::string_view text, T& to, std::string& why)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < std::numeric_limits<T>::min() ||
        value > std::int64_t(std::numeric_limits<T>::max())) {
        why = "wants a whole number from " + std::to_string(std::numeric_limits<T>::min()) + " to " +
              std::to_string(std::numeric_limits<T>::max()) + ", not \"" + std::string(text) + "\"";
        return false;
    }
    to = T(value);
    return true;
}

void Say(const std::string& text, std::FILE* to)
{
    std::fwrite(text.data(), 1, text.size(), to);
}

} // namespace

std::size_t EditDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

CommandLine::Option& CommandLine::Add(std::string_view names, std::string_view value, std::string_view help,
                                      std::function<bool(std::string_view, std::string&)> set)
{
    options_.push_back(Option{SplitNames(names), std::string(value), std::string(help), std::move(set)});
    return options_.back();
}

void CommandLine::Flag(std::string_view names, std::string_view help, bool& to)
{
    Add(names, "", help, [&to](std::string_view, std::string&) { return to = true; });
}

void CommandLine::Value(std::string_view names, std::string_view value, std::string_view help, std::string& to)
{
    Add(names, value, help, [&to](std::string_view v, std::string&) {
        to = v;
        return true;
    });
}

void CommandLine::Values(std::string_view names, std::string_view value, std::string_view help,
                         std::vector<std::string>& to)
{
    Add(names, value, std::string(help) + " (repeatable)", [&to](std::string_view v, std::string&) {
        to.emplace_back(v);
        return true;
    });
}

void CommandLine::Number(std::string_view names, std::string_view value, std::string_view help, std::int32_t& to)
{
    Add(names, value, std::string(help) + " (default " + std::to_string(to) + ")",
        [&to](std::string_view v, std::string& why) { return ParseNumber(v, to, why); });
}

void CommandLine::Number(std::string_view names, std::string_view value, std::string_view help, unsigned& to)
{
    Add(names, value, help, [&to](std::string_view v, std::string& why) { return ParseNumber(v, to, why); });
}

void CommandLine::Choice(std::string_view names, std::vector<std::string_view> choices, std::string_view help,
                         std::string& to)
{
    std::string listed;
    for (const std::string_view choice : choices)
        listed += (listed.empty() ? "" : "|") + std::string(choice);
    Add(names, listed, std::string(help) + " (default " + to + ")",
        [&to, choices, listed](std::string_view v, std::string& why) {
            if (std::find(choices.begin(), choices.end(), v) == choices.end()) {
                why = "is one of " + listed + ", not \"" + std::string(v) + "\"";
                return false;
            }
            to = v;
            return true;
        });
}

void CommandLine::Subcommand(std::string_view name, std::string_view help)
{
    subcommands_.emplace_back(name, help);
}

void CommandLine::Excludes(std::string_view a, std::string_view b)
{
    excludes_.emplace_back(a, b);
}

CommandLine::Option* CommandLine::Find(std::string_view name)
{
    for (Option& option : options_)
        if (std::find(option.names.begin(), option.names.end(), name) != option.names.end())
            return &option;
    return nullptr;
}

bool CommandLine::Given(std::string_view name) const
{
    for (const Option& option : options_)
        if (std::find(option.names.begin(), option.names.end(), name) != option.names.end())
            return option.given;
    return false;
}

std::string CommandLine::Nearest(std::string_view given) const
{
    std::vector<std::string_view> names;
    if (given.starts_with("-")) {
        for (const Option& option : options_)
            names.insert(names.end(), option.names.begin(), option.names.end());
        names.insert(names.end(), {"--help", "--version"});
    } else {
        for (const auto& [name, help] : subcommands_)
            names.push_back(name);
    }
    std::string_view best;
    std::size_t bestDistance = std::max<std::size_t>(2, given.size() / 3) + 1;
    for (const std::string_view name : names)
        if (const std::size_t d = EditDistance(given, name); d < bestDistance) {
            best = name;
            bestDistance = d;
        }
    return std::string(best);
}

std::string CommandLine::Help() const
{
    std::string text = program_ + ": " + about_ + "\nUsage: " + program_ + " [OPTIONS]\n";
    for (const auto& [name, help] : subcommands_)
        text += "       " + program_ + " " + name + " [OPTIONS] ...\n";
    auto line = [&text](std::string left, const std::string& help) {
        left = "  " + left;
        left += left.size() < 30 ? std::string(30 - left.size(), ' ') : "\n" + std::string(30, ' ');
        text += left + help + "\n";
    };
    text += "\nOptions:\n";
    line("-h,--help", "print this help and exit");
    line("--version", "print the version and exit");
    for (const Option& option : options_) {
        std::string names;
        for (const std::string& name : option.names)
            names += (names.empty() ? "" : ",") + name;
        line(names + (option.value.empty() ? "" : " " + option.value), option.help);
    }
    if (!subcommands_.empty()) {
        text += "\nSubcommands:\n";
        for (const auto& [name, help] : subcommands_)
            line(name, help);
    }
    return text;
}

CommandLine::Outcome CommandLine::Parse(int argc, char** argv)
{
    auto bad = [this](const std::string& what) {
        Say(program_ + ": " + what + "\n" + program_ + ": " + program_ + " --help lists what it takes\n", stderr);
        return Outcome::Bad;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "-h" || arg == "--help") {
            Say(Help(), stdout);
            return Outcome::Done;
        }
        if (arg == "--version") {
            Say(version_ + "\n", stdout);
            return Outcome::Done;
        }
        const std::size_t eq = arg.starts_with("--") ? arg.find('=') : std::string_view::npos;
        const std::string_view name = arg.substr(0, eq);
        Option* option = arg.size() > 1 && arg[0] == '-' ? Find(name) : nullptr;
        if (!option) {
            bool subcommand = false;
            for (const auto& [sub, help] : subcommands_)
                subcommand |= sub == arg;
            if (subcommand)
                return bad(std::string(arg) + " comes first and takes its own options: " + program_ + " " +
                           std::string(arg) + " --help");
            std::string what =
                std::string(arg.starts_with("-") ? "unknown option " : "unknown argument ") + std::string(arg);
            if (const std::string nearest = Nearest(name); !nearest.empty())
                what += " (did you mean " + nearest + "?)";
            return bad(what);
        }
        std::string_view value;
        if (option->value.empty()) {
            if (eq != std::string_view::npos)
                return bad(std::string(name) + " takes no value");
        } else if (eq != std::string_view::npos) {
            value = arg.substr(eq + 1);
        } else if (i + 1 < argc) {
            value = argv[++i];
        } else {
            return bad(std::string(name) + " needs a value (" + option->value + ")");
        }
        if (std::string why; !option->set(value, why))
            return bad(std::string(name) + " " + why);
        option->given = true;
    }
    for (const auto& [a, b] : excludes_)
        if (Given(a) && Given(b))
            return bad(a + " and " + b + " exclude each other");
    return Outcome::Run;
}

} // namespace kfhost::cli
