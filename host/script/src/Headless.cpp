#include "kfhost/script/Headless.hpp"

#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/script/Runner.hpp"

namespace kfhost {
namespace {

std::string RowLine(const DialogItem& item, std::size_t index)
{
    const ListRow& row = item.rows[index];
    std::string line = "    row " + std::to_string(index + 1);
    // The row's own text is left out when it is empty and tab fields carry the texts.
    for (std::size_t t = 0; t < row.texts.size(); ++t)
        if (t > 0 || !row.texts[0].empty() || row.texts.size() == 1)
            line += " " + Quote(row.texts[t]);
    if (row.iconResID != 0)
        line += " icon " + std::to_string(row.iconResID);
    if (row.selected)
        line += " selected";
    return line;
}

using Kind = ScriptRunner::SystemAnswer::Kind;

// The script's answer for a file or folder dialog, logged after `line`; nothing when the dialog is
// cancelled, a failure too when the script gives no answer or one of the other kind.
std::optional<ScriptRunner::SystemAnswer> TakeSystemAnswer(Host& host, ScriptRunner& script, const std::string& line,
                                                           Kind wanted)
{
    const std::string dialog = wanted == Kind::File ? "file" : "folder";
    auto answer = script.TakeAnswer();
    if (!answer) {
        host.Log().Add(line + " -> cancel");
        script.Fail("a " + dialog + " dialog is waiting for an answer the script does not give");
        return std::nullopt;
    }
    if (answer->kind != wanted) {
        host.Log().Add(line + " -> cancel");
        if (answer->kind != Kind::Cancel)
            script.Fail("a " + dialog + " dialog got a " + (wanted == Kind::File ? "folder" : "file") + " answer");
        return std::nullopt;
    }
    host.Log().Add(line + " -> " + Quote(answer->path));
    return answer;
}

} // namespace

std::vector<std::string> DescribeDialog(const Dialog& dialog)
{
    std::vector<std::string> lines;
    lines.push_back("dialog " + std::to_string(dialog.resID) + " title " + Quote(dialog.title) +
                    (dialog.modal ? "" : " modeless"));
    for (const DialogItem& item : dialog.items) {
        std::string line = "  " + std::to_string(item.number) + " " + std::string(KindName(item.kind));
        if (item.kind == ItemKind::Icon && item.text.empty())
            line += " " + std::to_string(item.iconResID);
        else if (item.kind != ItemKind::ListBox)
            line += " " + Quote(item.text);
        if (item.kind == ItemKind::ListBox)
            line += " rows " + std::to_string(item.rows.size());
        if (item.kind == ItemKind::CheckBox && item.checked)
            line += " checked";
        if (!item.visible)
            line += " hidden";
        if (!item.enabled)
            line += " disabled";
        lines.push_back(std::move(line));
        for (std::size_t r = 0; r < item.rows.size(); ++r)
            lines.push_back(RowLine(item, r));
    }
    return lines;
}

void HeadlessBackend::Shown(Dialog& dialog)
{
    for (auto& line : DescribeDialog(dialog))
        host_.Log().Add(std::move(line));
}

void HeadlessBackend::RunModal(Dialog& dialog)
{
    while (dialog.IsOpen()) {
        if (script_.Step())
            continue;
        // Never wait for input that cannot come: report, then close as the close box would.
        if (forcedCloses_ < 100)
            script_.Fail("dialog " + std::to_string(dialog.resID) + " is still waiting for the script");
        ++forcedCloses_;
        host_.Dialogs().CloseBox(dialog);
    }
}

void HeadlessBackend::Closed(Dialog& dialog)
{
    std::string line = "closed " + std::to_string(dialog.resID) + " with " + std::to_string(dialog.closedWith);
    if (dialog.result != dialog.closedWith)
        line += " result " + std::to_string(dialog.result);
    host_.Log().Add(std::move(line));
}

std::int16_t HeadlessBackend::Alert(const AlertRequest& request)
{
    std::string line =
        "alert " + Quote(request.texts[0]) + " " + Quote(request.texts[1]) + " " + Quote(request.texts[2]) + " buttons";
    for (int b = 3; b < 6; ++b)
        if (!request.texts[b].empty())
            line += " " + Quote(request.texts[b]);
    host_.Log().Add(std::move(line));
    script_.NoteAlert(request);
    return 1;
}

std::optional<FileAnswer> HeadlessBackend::ChooseFile(const FileRequest& request)
{
    auto answer = TakeSystemAnswer(host_, script_, "file dialog " + Quote(request.title), Kind::File);
    if (!answer)
        return std::nullopt;
    return FileAnswer{answer->path, answer->filter};
}

std::optional<std::u16string> HeadlessBackend::ChooseFolder(const FolderRequest& request)
{
    auto answer = TakeSystemAnswer(host_, script_, "folder dialog " + Quote(request.title), Kind::Folder);
    if (!answer)
        return std::nullopt;
    return answer->path;
}

} // namespace kfhost
