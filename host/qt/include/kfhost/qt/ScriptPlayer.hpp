// Plays a script of the headless host against the real widgets: clicks, list selections, typing and
// the close box go to the windows' widgets, every other line runs as it does headless. After each
// line the windows must show what the model holds; a difference is a failure.
#pragma once

#include "kfhost/script/Runner.hpp"

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost {
class Host;
namespace detail {
struct Token;
}
} // namespace kfhost

namespace kfhost::qt {

class QtBackend;

class ScriptPlayer {
public:
    ScriptPlayer(Host& host, QtBackend& backend) : host_(host), backend_(backend) {}

    void Append(std::string_view text, const std::string& source);
    bool HasPending() const { return !lines_.empty(); }
    // Runs one line (modal dialogs it opens take the next lines); false when none is left.
    bool Step();
    void RunAll();

    // Called before each line and once more at the end, with the windows up to date.
    std::function<void()> onPause;

private:
    // Works the widget the line names; false leaves the line to the headless runner (which also
    // words every refusal).
    bool Act(const ScriptLine& line, const std::vector<detail::Token>& tokens);
    void CheckWindows();

    Host& host_;
    QtBackend& backend_;
    std::deque<ScriptLine> lines_;
};

} // namespace kfhost::qt
