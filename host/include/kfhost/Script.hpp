// The headless host: a script of user actions and checks (see docs/scripts.md) and the dialog
// backend that answers dialogs from it. A modal dialog consumes script lines until it closes.
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
    explicit ScriptRunner(Host& host);

    // Appends the lines of a script (comments and blank lines are skipped when run).
    void Append(std::string_view text, const std::string& source);
    void Queue(const std::string& line);
    bool HasPending() const { return !lines_.empty(); }
    std::size_t PendingCount() const { return lines_.size(); }

    // Runs one line; false when there is none left.
    bool Step();
    // Runs every pending line; answers whether nothing failed meanwhile.
    bool RunAll();

    bool Ok() const { return failures_.empty(); }
    const std::vector<std::string>& Failures() const { return failures_; }
    void ClearFailures() { failures_.clear(); }
    // Records a failure at the line being run (or the end of the script).
    void Fail(const std::string& message);
    int ExpectCount() const { return expects_; }

    // Answers queued for system dialogs, and alerts not yet checked.
    struct SystemAnswer {
        enum class Kind { File, Folder, Cancel } kind;
        std::u16string path;
        std::uint32_t filter = 0;
    };
    std::optional<SystemAnswer> TakeAnswer();
    void NoteAlert(const AlertRequest& alert) { alerts_.push_back(alert); }

    // Runs one command line now (also used by tests); answers false on a failure.
    bool Run(const ScriptLine& line);

private:
    bool Execute(const ScriptLine& line);
    std::string Where(const ScriptLine& line) const;

    Host& host_;
    std::deque<ScriptLine> lines_;
    std::optional<ScriptLine> current_;
    std::vector<std::string> failures_;
    std::deque<SystemAnswer> answers_;
    std::deque<AlertRequest> alerts_;
    int expects_ = 0;
};

// Headless dialog backend: prints dialogs to the transcript, runs modal dialogs on the script.
class HeadlessBackend final : public DialogBackend {
public:
    explicit HeadlessBackend(Host& host) : host_(host) {}
    void Shown(Dialog& dialog) override;
    void RunModal(Dialog& dialog) override;
    void Closed(Dialog& dialog) override;
    std::int16_t Alert(const AlertRequest& request) override;
    std::optional<FileAnswer> ChooseFile(const FileRequest& request) override;
    std::optional<std::u16string> ChooseFolder(const FolderRequest& request) override;

private:
    Host& host_;
    int forcedCloses_ = 0;
};

// The lines that show one dialog in the transcript.
std::vector<std::string> DescribeDialog(const Dialog& dialog);

} // namespace kfhost
