// kfhost's command line: a table of options, each bound to the variable it sets and carrying its
// help text. Kept small on purpose: every kfhost run parses it, and a start-up of a few
// milliseconds has no room for a general parser's set-up (docs/performance.md).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost::cli {

class CommandLine {
public:
    CommandLine(std::string_view program, std::string_view about) : program_(program), about_(about) {}

    // names: "--name" or "-v,--verbose". A value option takes the next argument or "--name=VALUE";
    // given again, the last value counts (repeatable ones collect every value).
    void Flag(std::string_view names, std::string_view help, bool& to);
    void Value(std::string_view names, std::string_view value, std::string_view help, std::string& to);
    void Values(std::string_view names, std::string_view value, std::string_view help, std::vector<std::string>& to);
    void Number(std::string_view names, std::string_view value, std::string_view help, std::int32_t& to);
    void Number(std::string_view names, std::string_view value, std::string_view help, unsigned& to);
    // A value that must be one of choices.
    void Choice(std::string_view names, std::vector<std::string_view> choices, std::string_view help, std::string& to);
    // Listed in the help; the program dispatches it before parsing.
    void Subcommand(std::string_view name, std::string_view help);
    // The two options may not both be given.
    void Excludes(std::string_view a, std::string_view b);
    // --version prints this line.
    void Version(std::string line) { version_ = std::move(line); }

    enum class Outcome { Run, Done, Bad };
    // Done: --help or --version was printed on standard output. Bad: the mistake is on standard
    // error, one line naming the argument (and the nearest option for an unknown one).
    Outcome Parse(int argc, char** argv);
    bool Given(std::string_view name) const;
    std::string Help() const;

private:
    struct Option {
        std::vector<std::string> names; // "--name", "-v"
        std::string value;              // "" for a flag
        std::string help;
        std::function<bool(std::string_view value, std::string& why)> set;
        bool given = false;
    };
    Option& Add(std::string_view names, std::string_view value, std::string_view help,
                std::function<bool(std::string_view, std::string&)> set);
    Option* Find(std::string_view name);
    std::string Nearest(std::string_view given) const;

    std::string program_;
    std::string about_;
    std::string version_;
    std::vector<Option> options_;
    std::vector<std::pair<std::string, std::string>> subcommands_;
    std::vector<std::pair<std::string, std::string>> excludes_;
};

// Edits (insert, delete, replace) that turn a into b.
std::size_t EditDistance(std::string_view a, std::string_view b);

} // namespace kfhost::cli
