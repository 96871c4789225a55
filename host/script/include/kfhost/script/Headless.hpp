// The headless dialog backend: prints dialogs to the transcript and runs modal dialogs on the
// script; alerts take their first button, file and folder dialogs the script's answers.
#pragma once

#include "kfhost/Dialogs.hpp"

#include <string>
#include <vector>

namespace kfhost {

class Host;
class ScriptRunner;

class HeadlessBackend final : public DialogBackend {
public:
    HeadlessBackend(Host& host, ScriptRunner& script) : host_(host), script_(script) {}
    void Shown(Dialog& dialog) override;
    void RunModal(Dialog& dialog) override;
    void Closed(Dialog& dialog) override;
    std::int16_t Alert(const AlertRequest& request) override;
    std::optional<FileAnswer> ChooseFile(const FileRequest& request) override;
    std::optional<std::u16string> ChooseFolder(const FolderRequest& request) override;
    const ScriptRunner& Script() const { return script_; }

private:
    Host& host_;
    ScriptRunner& script_;
    int forcedCloses_ = 0;
};

// The lines that show one dialog in the transcript.
std::vector<std::string> DescribeDialog(const Dialog& dialog);

} // namespace kfhost
