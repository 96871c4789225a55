#include "kfhost/script/Runner.hpp"

#include "Verbs.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/script/Headless.hpp"

namespace kfhost {

using script::Args;

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

ScriptRunner::ScriptRunner(Host& host) : host_(host), headlessHand_(host.Dialogs())
{
    host_.SetDialogBackend(std::make_unique<HeadlessBackend>(host, *this));
}

ScriptRunner::~ScriptRunner()
{
    const auto* headless = dynamic_cast<const HeadlessBackend*>(&host_.Dialogs().Backend());
    if (headless && &headless->Script() == this)
        host_.SetDialogBackend(nullptr);
}

void ScriptRunner::Append(std::string_view text, const std::string& source)
{
    AppendScriptLines(lines_, text, source);
}

void ScriptRunner::Queue(const std::string& line)
{
    lines_.push_back(ScriptLine{"queued", ++queued_, line});
}

bool ScriptRunner::Fill()
{
    if (lines_.empty() && source_)
        if (auto line = source_->Next())
            lines_.push_back(std::move(*line));
    return !lines_.empty();
}

void ScriptRunner::Stop()
{
    lines_.clear();
    source_ = nullptr;
}

bool ScriptRunner::Step()
{
    if (!Fill())
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

std::string ScriptRunner::Where(const ScriptLine& line)
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
    while (answers_.empty() && Fill()) {
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

std::optional<AlertRequest> ScriptRunner::TakeAlert()
{
    if (alerts_.empty())
        return std::nullopt;
    AlertRequest alert = std::move(alerts_.front());
    alerts_.pop_front();
    return alert;
}

bool ScriptRunner::Run(const ScriptLine& line)
{
    const auto saved = current_;
    current_ = line;
    const std::size_t before = failures_.size();
    bool acted = false;
    try {
        Execute(line, acted);
    } catch (const detail::LexError& e) {
        Fail("column " + std::to_string(e.column) + ": " + e.what());
    } catch (const std::runtime_error& e) {
        Fail(e.what());
    }
    if (acted && after_)
        after_(); // also when the action failed: a check throws
    current_ = saved;
    return failures_.size() == before;
}

void ScriptRunner::Execute(const ScriptLine& line, bool& acted)
{
    Args args(detail::Tokenize(line.text));
    if (args.Done())
        return;
    ++commands_;
    const std::string name = args.Word();
    const script::Verb* verb = script::FindVerb(script::CommandVerbs(), name);
    if (!verb)
        throw std::runtime_error("unknown command '" + name + "'");
    const script::Action action = verb->parse(args);
    args.End();
    if (before_)
        before_();
    acted = true;
    if (verb->echoed)
        host_.Log().Add("> " + line.text);
    action(*this);
}

bool ScriptRunner::Finish()
{
    if (!strict_)
        return Ok();
    current_.reset();
    // What the script left unsaid is named where it was said.
    auto failAt = [&](const ScriptLine& line, const std::string& message) {
        current_ = line;
        Fail(message);
        current_.reset();
    };
    if (commands_ == 0)
        Fail("the script runs no command");
    else if (expects_ == 0)
        Fail("no expect line ran");
    for (const SystemAnswer& answer : answers_)
        failAt(answer.origin, "no file or folder dialog took this answer");
    answers_.clear();
    for (const std::string& rule : host_.Faults().Unused())
        Fail("no file operation met " + (rule.empty() ? std::string("a fail rule") : rule));
    for (const AlertRequest& alert : alerts_)
        Fail("the alert " + Quote(alert.texts[1]) + " was never checked");
    alerts_.clear();
    for (const std::string& warning : host_.Warnings())
        Fail("host " + (warning.rfind("warning: ", 0) == 0 ? warning : "warning: " + warning));
    return Ok();
}

} // namespace kfhost
