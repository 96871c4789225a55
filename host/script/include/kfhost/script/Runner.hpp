// The headless host's script (docs/scripts.md): user actions and checks, run one line at a time.
// The runner drives the host through its public interface only; while it lives, the host's
// dialogs are answered from the script (modal dialogs take the lines that follow).
#pragma once

#include "kfhost/Dialogs.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost {

class Host;

struct ScriptLine {
    std::string source; // file name, "-" for standard input, "queued" for lines given in-process
    int number = 0;
    std::string text;
};

// Splits a script into its lines, numbered from 1, and appends them to `out`.
void AppendScriptLines(std::deque<ScriptLine>& out, std::string_view text, const std::string& source);

class ScriptRunner {
public:
    // Installs the headless dialog backend in host; when the runner goes, a headless backend of
    // its own still installed goes too.
    explicit ScriptRunner(Host& host);
    ~ScriptRunner();
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;

    Host& GetHost() { return host_; }

    // Appends the lines of a script (comments and blank lines are skipped when run).
    void Append(std::string_view text, const std::string& source);
    void Queue(const std::string& line);
    bool HasPending() const { return !lines_.empty(); }
    std::size_t PendingCount() const { return lines_.size(); }

    // Runs one line; false when there is none left.
    bool Step();
    // Runs every pending line; answers whether nothing failed meanwhile.
    bool RunAll();
    // Runs one command line now (also used by tests); answers false on a failure.
    bool Run(const ScriptLine& line);

    // Strict runs also fail on what a script leaves unsaid: see Finish.
    void SetStrict(bool strict) { strict_ = strict; }
    // The end of the run. Strict: an empty script, no expect run, an answer or fail line never
    // used, an alert never checked and every host warning are failures. Answers Ok().
    bool Finish();

    bool Ok() const { return failures_.empty(); }
    const std::vector<std::string>& Failures() const { return failures_; }
    // Records a failure at the line being run (or the end of the script).
    void Fail(const std::string& message);
    void CountExpect() { ++expects_; }

    // Answers queued for system dialogs: a dialog takes the answer lines that come next.
    struct SystemAnswer {
        enum class Kind { File, Folder, Cancel } kind;
        std::u16string path;
        std::uint32_t filter = 0;
        ScriptLine origin;
    };
    void AddAnswer(SystemAnswer answer) { answers_.push_back(std::move(answer)); }
    std::optional<SystemAnswer> TakeAnswer();

    // Alerts shown and not yet checked, oldest first.
    void NoteAlert(const AlertRequest& alert) { alerts_.push_back(alert); }
    std::optional<AlertRequest> TakeAlert();
    const std::deque<AlertRequest>& Alerts() const { return alerts_; }

    // The line being run, if any.
    const std::optional<ScriptLine>& CurrentLine() const { return current_; }
    // Where a line of the script is: "source:number".
    static std::string Where(const ScriptLine& line);

private:
    void Execute(const ScriptLine& line);

    Host& host_;
    std::deque<ScriptLine> lines_;
    std::optional<ScriptLine> current_;
    std::vector<std::string> failures_;
    std::deque<SystemAnswer> answers_;
    std::deque<AlertRequest> alerts_;
    int expects_ = 0;
    int commands_ = 0;
    int queued_ = 0;
    bool strict_ = false;
};

} // namespace kfhost
