// Script lines read from a file descriptor as they arrive (standard input typed at a terminal or
// fed by a pipe), so that a developer can type `reload` after a rebuild; with watched files, a
// `reload` line of its own whenever one of them is written again.
#pragma once

#include "kfhost/script/Runner.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kfhost {

class InputLines final : public LineSource {
public:
    // source names the lines in failures ("-" for standard input).
    InputLines(int fd, std::string source);
    ~InputLines() override;
    InputLines(const InputLines&) = delete;
    InputLines& operator=(const InputLines&) = delete;

    // Watches these files for being written or replaced; false and why when the system refuses.
    bool Watch(const std::vector<std::filesystem::path>& files, std::string* why);
    // A due reload waits while this answers false (the script is inside an add-on's call).
    void SetReloadAllowed(std::function<bool()> allowed) { reloadAllowed_ = std::move(allowed); }

    std::optional<ScriptLine> Next() override;
    bool Interactive() const override { return interactive_; }

private:
    std::optional<ScriptLine> TakeLine();
    // Waits for input or a change of a watched file, until the change has settled.
    void Wait();
    void ReadChanges();

    int fd_;
    std::string source_;
    bool interactive_;
    std::string buffer_;
    bool ended_ = false;
    int lines_ = 0;
    int notify_ = -1;
    std::map<int, std::set<std::string>> watched_;                 // watch of a folder -> file names in it
    std::optional<std::chrono::steady_clock::time_point> changed_; // last change not yet settled
    bool reloadDue_ = false;
    int reloads_ = 0;
    std::function<bool()> reloadAllowed_;
};

} // namespace kfhost
