// The headless host's script (docs/scripts.md): user actions and checks, run one line at a time.
// The runner drives the host through its public interface only; while it lives, the host's
// dialogs are answered from the script (modal dialogs take the lines that follow).
#pragma once

#include "kfhost/Dialogs.hpp"
#include "kfhost/script/UserHand.hpp"

#include <cstdint>
#include <deque>
#include <functional>
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

// Lines that arrive while the script runs (standard input as it is typed): asked for the next line
// whenever the appended ones have run out.
class LineSource {
public:
    virtual ~LineSource() = default;
    // The next line, waiting for it; nothing at the end of the input.
    virtual std::optional<ScriptLine> Next() = 0;
    // A person types the lines: a failure does not end the run (they can type `reload` again).
    virtual bool Interactive() const { return false; }
};

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
    std::size_t PendingCount() const { return lines_.size(); }
    // Where lines come from after the appended ones; null: nowhere (the script ends with them).
    void SetSource(LineSource* source) { source_ = source; }
    bool Interactive() const { return source_ && source_->Interactive(); }
    // Drops every line still to come, from the queue and the source: the rest of the script
    // cannot mean what it says (its bundles did not load).
    void Stop();

    // Runs one line; false when there is none left.
    bool Step();
    // Runs every pending line; answers whether nothing failed meanwhile.
    bool RunAll();
    // Runs one command line now (also used by tests); answers false on a failure.
    bool Run(const ScriptLine& line);

    // Who carries out click, select, type and close; null: the dialog manager (headless).
    void SetHand(UserHand* hand) { hand_ = hand ? hand : &headlessHand_; }
    UserHand& Hand() { return *hand_; }
    // Called around every command line (not comments or blank lines), e.g. to bring windows up to
    // date and compare them with the model.
    void SetLineHooks(std::function<void()> before, std::function<void()> after)
    {
        before_ = std::move(before);
        after_ = std::move(after);
    }

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
    // acted: the line got past its syntax to its action (the line hooks apply).
    void Execute(const ScriptLine& line, bool& acted);
    // A line waits in the queue (taken from the source when the queue is empty).
    bool Fill();

    Host& host_;
    std::deque<ScriptLine> lines_;
    LineSource* source_ = nullptr;
    UserHand headlessHand_;
    UserHand* hand_ = &headlessHand_;
    std::function<void()> before_;
    std::function<void()> after_;
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
