// The script language of the headless host (docs/scripts.md).
#include "kfhost/Script.hpp"

#include "Lexer.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"

#include <cstdio>

namespace kfhost {

using detail::Token;

namespace {

std::string Hex(std::int32_t code) { return ErrorText(code); }

// Argument reader of one command line; every miss becomes a syntax failure.
class Args {
public:
    explicit Args(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}
    bool Done() const { return pos_ >= tokens_.size(); }
    const Token* Peek() const { return Done() ? nullptr : &tokens_[pos_]; }
    std::string Word()
    {
        if (Done() || tokens_[pos_].kind != Token::Kind::Word)
            throw Syntax("a word");
        return tokens_[pos_++].text;
    }
    std::int64_t Int(const char* what)
    {
        if (Done() || tokens_[pos_].kind != Token::Kind::Number || !tokens_[pos_].integral)
            throw Syntax(what);
        return tokens_[pos_++].number;
    }
    double Real(const char* what)
    {
        if (Done() || tokens_[pos_].kind != Token::Kind::Number)
            throw Syntax(what);
        return tokens_[pos_++].real;
    }
    std::string Str(const char* what)
    {
        if (Done() || tokens_[pos_].kind != Token::Kind::String)
            throw Syntax(what);
        return tokens_[pos_++].text;
    }
    void End()
    {
        if (!Done())
            throw std::runtime_error("unexpected '" + tokens_[pos_].text + "'");
    }
    static std::runtime_error Syntax(const char* what) { return std::runtime_error(std::string("expected ") + what); }

private:
    std::vector<Token> tokens_;
    std::size_t pos_ = 0;
};

std::uint32_t FourCC(Args& args)
{
    const Token* t = args.Peek();
    if (t && t->kind == Token::Kind::Number)
        return std::uint32_t(args.Int("a command code"));
    const std::string code = args.Str("a four-character command code such as \"QRT \"");
    if (code.size() != 4)
        throw std::runtime_error("a command code has four characters, not " + std::to_string(code.size()));
    return (std::uint32_t(std::uint8_t(code[0])) << 24) | (std::uint32_t(std::uint8_t(code[1])) << 16) |
           (std::uint32_t(std::uint8_t(code[2])) << 8) | std::uint32_t(std::uint8_t(code[3]));
}

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

ScriptRunner::ScriptRunner(Host& host) : host_(host) {}

void AppendScriptLines(std::deque<ScriptLine>& out, std::string_view text, const std::string& source)
{
    int number = 0;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        ++number;
        out.push_back(ScriptLine{source, number, std::string(text.substr(start, end - start))});
        start = end + 1;
    }
}

void ScriptRunner::Append(std::string_view text, const std::string& source)
{
    AppendScriptLines(lines_, text, source);
}

void ScriptRunner::Queue(const std::string& line)
{
    static int queued = 0;
    lines_.push_back(ScriptLine{"queued", ++queued, line});
}

bool ScriptRunner::Step()
{
    if (lines_.empty())
        return false;
    ScriptLine line = std::move(lines_.front());
    lines_.pop_front();
    Run(line);
    return true;
}

bool ScriptRunner::RunAll()
{
    const std::size_t before = failures_.size();
    while (Step()) {
    }
    return failures_.size() == before;
}

std::string ScriptRunner::Where(const ScriptLine& line) const
{
    return line.source + ":" + std::to_string(line.number);
}

void ScriptRunner::Fail(const std::string& message)
{
    const std::string where = current_ ? Where(*current_) : std::string("end of script");
    std::string text = where + ": " + (current_ ? current_->text + ": " : std::string()) + message;
    host_.Log().Add("FAILED " + text);
    failures_.push_back(std::move(text));
}

std::optional<ScriptRunner::SystemAnswer> ScriptRunner::TakeAnswer()
{
    // A system dialog consumes the answer lines that come next, as a modal dialog consumes lines.
    while (answers_.empty() && !lines_.empty()) {
        const std::string& next = lines_.front().text;
        const auto first = next.find_first_not_of(" \t\r");
        if (first == std::string::npos || next[first] == '#') {
            lines_.pop_front();
            continue;
        }
        if (next.compare(first, 7, "answer ") != 0)
            break;
        Step();
    }
    if (answers_.empty())
        return std::nullopt;
    SystemAnswer answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

bool ScriptRunner::Run(const ScriptLine& line)
{
    const auto saved = current_;
    current_ = line;
    const std::size_t before = failures_.size();
    try {
        Execute(line);
    } catch (const detail::LexError& e) {
        Fail("column " + std::to_string(e.column) + ": " + e.what());
    } catch (const std::runtime_error& e) {
        Fail(e.what());
    }
    current_ = saved;
    return failures_.size() == before;
}

bool ScriptRunner::Execute(const ScriptLine& line)
{
    Args args(detail::Tokenize(line.text));
    if (args.Done())
        return true;
    const std::string verb = args.Word();
    DialogManager& dialogs = host_.Dialogs();
    auto current = [&]() -> Dialog& {
        Dialog* d = dialogs.Current();
        if (!d)
            throw std::runtime_error("no dialog is open");
        return *d;
    };
    auto item16 = [&](const char* what) { return std::int16_t(args.Int(what)); };

    if (verb == "menu") {
        const auto res = item16("a menu resource number");
        const auto item = std::int32_t(args.Int("an item index"));
        AddOn* target = nullptr;
        if (!args.Done()) {
            const std::string name = args.Str("an add-on's name");
            target = host_.FindAddOn(name);
            if (!target)
                throw std::runtime_error("no add-on named " + Quote(name) + " is loaded");
        }
        args.End();
        host_.Log().Add("> " + line.text);
        std::string why;
        const std::int32_t code = host_.MenuCommand(res, item, true, &why, target);
        if (!why.empty())
            Fail(why);
        else if (code != 0)
            host_.Log().Add("menu " + std::to_string(res) + " " + std::to_string(item) + " answered " + Hex(code));
        return true;
    }
    if (verb == "command") {
        const std::uint32_t cmd = FourCC(args);
        const auto version = std::int32_t(args.Int("a command version"));
        std::optional<ModuleID> target;
        if (!args.Done()) {
            ModuleID id;
            id.developerID = std::uint32_t(args.Int("a developer id"));
            id.localID = std::uint32_t(args.Int("a local id"));
            target = id;
        }
        args.End();
        host_.Log().Add("> " + line.text);
        std::string why;
        const std::int32_t code =
            host_.ModuleCommand(cmd, version, target ? &*target : nullptr, nullptr, nullptr, false, &why);
        if (!why.empty())
            Fail(why);
        else if (code != 0)
            host_.Log().Add("command " + Quote(FourCCText(cmd)) + " answered " + Hex(code));
        return true;
    }
    if (verb == "click" || verb == "select" || verb == "type") {
        const auto item = item16("an item number");
        std::string why;
        bool done = false;
        if (verb == "click") {
            args.End();
            host_.Log().Add("> " + line.text);
            done = dialogs.Click(current(), item, &why);
        } else if (verb == "select") {
            const auto row = item16("a row number");
            args.End();
            host_.Log().Add("> " + line.text);
            done = dialogs.Select(current(), item, row, &why);
        } else {
            const std::string text = args.Str("the text");
            args.End();
            host_.Log().Add("> " + line.text);
            done = dialogs.TypeText(current(), item, FromUTF8(text), &why);
        }
        if (!done)
            Fail(why);
        return done;
    }
    if (verb == "close") {
        args.End();
        host_.Log().Add("> " + line.text);
        dialogs.CloseBox(current());
        return true;
    }
    if (verb == "answer") {
        const std::string kind = args.Word();
        SystemAnswer answer{SystemAnswer::Kind::Cancel, {}, 0};
        if (kind == "file" || kind == "folder") {
            answer.kind = kind == "file" ? SystemAnswer::Kind::File : SystemAnswer::Kind::Folder;
            answer.path = FromUTF8(args.Str("a path"));
            if (kind == "file" && !args.Done())
                answer.filter = std::uint32_t(args.Int("a filter position"));
        } else if (kind != "cancel") {
            throw std::runtime_error("answer file, answer folder or answer cancel");
        }
        args.End();
        answers_.push_back(std::move(answer));
        return true;
    }
    if (verb == "reload") {
        args.End();
        host_.Log().Add("> " + line.text);
        for (const LoadResult& r : host_.ReloadBundles())
            if (!r.Loaded())
                Fail("cannot load " + r.path.string() + " again: " + r.reason);
        return true;
    }
    if (verb == "wait") {
        const double seconds = args.Real("seconds");
        args.End();
        host_.Log().Add("> " + line.text);
        host_.Loop().RunFor(seconds);
        return true;
    }
    if (verb == "fail") {
        const std::string opName = args.Word();
        const auto op = FileOpFromName(opName);
        if (!op)
            throw std::runtime_error("unknown file operation '" + opName + "'");
        const std::string pattern = args.Str("a path pattern");
        const auto code = std::int32_t(std::uint32_t(args.Int("a host error code")));
        const int count = args.Done() ? 1 : int(args.Int("a count"));
        args.End();
        host_.Faults().Fail(*op, pattern, code, count);
        return true;
    }
    if (verb == "print") {
        args.End();
        if (Dialog* d = dialogs.Current())
            for (auto& l : DescribeDialog(*d))
                host_.Log().Add(std::move(l));
        else
            host_.Log().Add("no dialog");
        return true;
    }
    if (verb != "expect")
        throw std::runtime_error("unknown command '" + verb + "'");

    ++expects_;
    const std::string what = args.Word();
    auto itemOf = [&](Dialog& d, std::int16_t n) -> DialogItem& {
        DialogItem* it = d.Item(n);
        if (!it)
            throw std::runtime_error("dialog " + std::to_string(d.resID) + " has no item " + std::to_string(n));
        return *it;
    };
    if (what == "dialog") {
        const auto res = item16("a dialog resource number");
        args.End();
        Dialog* d = dialogs.Current();
        if (!d)
            Fail("no dialog is open");
        else if (d->resID != res)
            Fail("dialog " + std::to_string(d->resID) + " is open");
    } else if (what == "no-dialog") {
        args.End();
        if (Dialog* d = dialogs.Current())
            Fail("dialog " + std::to_string(d->resID) + " is open");
    } else if (what == "title") {
        const std::u16string title = FromUTF8(args.Str("a title"));
        args.End();
        Dialog& d = current();
        if (d.title != title)
            Fail("the title is " + Quote(d.title));
    } else if (what == "text") {
        const auto n = item16("an item number");
        const std::u16string text = FromUTF8(args.Str("a text"));
        args.End();
        DialogItem& it = itemOf(current(), n);
        if (it.text != text)
            Fail("item " + std::to_string(n) + " shows " + Quote(it.text));
    } else if (what == "visible" || what == "hidden" || what == "enabled" || what == "disabled" ||
               what == "checked" || what == "unchecked") {
        const auto n = item16("an item number");
        args.End();
        DialogItem& it = itemOf(current(), n);
        const bool state = what == "visible"   ? it.visible
                           : what == "hidden"  ? !it.visible
                           : what == "enabled" ? it.enabled
                           : what == "disabled" ? !it.enabled
                           : what == "checked" ? it.checked
                                               : !it.checked;
        if (!state)
            Fail("item " + std::to_string(n) + " is " +
                 (what == "visible" || what == "hidden"    ? (it.visible ? "visible" : "hidden")
                  : what == "enabled" || what == "disabled" ? (it.enabled ? "enabled" : "disabled")
                                                            : (it.checked ? "checked" : "unchecked")));
    } else if (what == "selected") {
        const auto n = item16("an item number");
        const auto row = item16("a row number");
        args.End();
        DialogItem& it = itemOf(current(), n);
        if (it.FirstSelected() != row)
            Fail(it.FirstSelected() == 0 ? "no row of item " + std::to_string(n) + " is selected"
                                         : "row " + std::to_string(it.FirstSelected()) + " is selected");
    } else if (what == "rows") {
        const auto n = item16("an item number");
        const auto count = args.Int("a row count");
        args.End();
        DialogItem& it = itemOf(current(), n);
        if (std::int64_t(it.rows.size()) != count)
            Fail("item " + std::to_string(n) + " has " + std::to_string(it.rows.size()) + " rows");
    } else if (what == "row") {
        const auto n = item16("an item number");
        const auto row = item16("a row number");
        const std::u16string text = FromUTF8(args.Str("a text"));
        const auto tab = args.Done() ? std::int16_t(0) : item16("a tab field");
        args.End();
        DialogItem& it = itemOf(current(), n);
        if (row < 1 || row > std::int16_t(it.rows.size()))
            Fail("item " + std::to_string(n) + " has " + std::to_string(it.rows.size()) + " rows");
        else if (it.RowText(row, tab) != text)
            Fail("row " + std::to_string(row) + " shows " + Quote(it.RowText(row, tab)));
    } else if (what == "alert") {
        const std::u16string text = FromUTF8(args.Str("the alert's text"));
        args.End();
        if (alerts_.empty()) {
            Fail("no alert was shown");
        } else {
            const AlertRequest alert = alerts_.front();
            alerts_.pop_front();
            if (alert.texts[1] != text)
                Fail("the alert says " + Quote(alert.texts[1]));
        }
    } else if (what == "no-alert") {
        args.End();
        if (!alerts_.empty())
            Fail("an alert says " + Quote(alerts_.front().texts[1]));
    } else if (what == "launched") {
        const std::string arg = args.Str("an argument");
        args.End();
        const auto& launched = host_.Launched();
        if (launched.empty()) {
            Fail("nothing was launched");
        } else {
            bool found = false;
            std::string all;
            for (const auto& a : launched.back()) {
                found = found || a == arg;
                all += " " + Quote(a);
            }
            if (!found)
                Fail("the last launch was" + all);
        }
    } else {
        throw std::runtime_error("unknown expectation '" + what + "'");
    }
    return true;
}

// ---- headless backend -------------------------------------------------------------------

void HeadlessBackend::Shown(Dialog& dialog)
{
    for (auto& line : DescribeDialog(dialog))
        host_.Log().Add(std::move(line));
}

void HeadlessBackend::RunModal(Dialog& dialog)
{
    ScriptRunner& script = host_.Script();
    while (dialog.IsOpen()) {
        if (script.Step())
            continue;
        // Never wait for input that cannot come: report, then close as the close box would.
        if (forcedCloses_ < 100)
            script.Fail("dialog " + std::to_string(dialog.resID) + " is still waiting for the script");
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
    std::string line = "alert " + Quote(request.texts[0]) + " " + Quote(request.texts[1]) + " " +
                       Quote(request.texts[2]) + " buttons";
    for (int b = 3; b < 6; ++b)
        if (!request.texts[b].empty())
            line += " " + Quote(request.texts[b]);
    host_.Log().Add(std::move(line));
    host_.Script().NoteAlert(request);
    return 1;
}

namespace {

// The script's answer for a file or folder dialog, logged after `line`; nothing when the dialog is
// cancelled, a failure too when the script gives no answer or one of the other kind.
std::optional<ScriptRunner::SystemAnswer> TakeSystemAnswer(Host& host, const std::string& line,
                                                           ScriptRunner::SystemAnswer::Kind wanted)
{
    using Kind = ScriptRunner::SystemAnswer::Kind;
    const std::string dialog = wanted == Kind::File ? "file" : "folder";
    auto answer = host.Script().TakeAnswer();
    if (!answer) {
        host.Log().Add(line + " -> cancel");
        host.Script().Fail("a " + dialog + " dialog is waiting for an answer the script does not give");
        return std::nullopt;
    }
    if (answer->kind != wanted) {
        host.Log().Add(line + " -> cancel");
        if (answer->kind != Kind::Cancel)
            host.Script().Fail("a " + dialog + " dialog got a " + (wanted == Kind::File ? "folder" : "file") +
                               " answer");
        return std::nullopt;
    }
    host.Log().Add(line + " -> " + Quote(answer->path));
    return answer;
}

} // namespace

std::optional<FileAnswer> HeadlessBackend::ChooseFile(const FileRequest& request)
{
    auto answer =
        TakeSystemAnswer(host_, "file dialog " + Quote(request.title), ScriptRunner::SystemAnswer::Kind::File);
    if (!answer)
        return std::nullopt;
    return FileAnswer{answer->path, answer->filter};
}

std::optional<std::u16string> HeadlessBackend::ChooseFolder(const FolderRequest& request)
{
    auto answer =
        TakeSystemAnswer(host_, "folder dialog " + Quote(request.title), ScriptRunner::SystemAnswer::Kind::Folder);
    if (!answer)
        return std::nullopt;
    return answer->path;
}

} // namespace kfhost
