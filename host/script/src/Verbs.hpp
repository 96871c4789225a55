// The script's verbs as a table: each verb reads its arguments (a syntax error never acts) and
// answers the action that does the work on the runner's host.
#pragma once

#include "Args.hpp"
#include "kfhost/script/Runner.hpp"

#include <functional>
#include <span>
#include <string_view>

namespace kfhost::script {

using Action = std::function<void(ScriptRunner&)>;

struct Verb {
    std::string_view name;
    bool echoed;                 // the line goes to the transcript before it acts
    Action (*parse)(Args& args); // reads the arguments after the verb
};

// menu, command, click, ... and expect, whose checks are the second table.
std::span<const Verb> CommandVerbs();
std::span<const Verb> ExpectVerbs();
const Verb* FindVerb(std::span<const Verb> verbs, std::string_view name);

// The dialog the user works in; a script error when none is open.
Dialog& CurrentDialog(ScriptRunner& runner);

} // namespace kfhost::script
