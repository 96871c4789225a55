// The verbs that act as a user would: menus, module commands, dialog items, answers for system
// dialogs, the main loop and file faults.
#include "Verbs.hpp"
#include "kfhost/Calls.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/script/Headless.hpp"
#include "kfsdk/Codes.hpp"

#include <algorithm>
#include <optional>

namespace kfhost::script {
namespace {

using detail::Token;

Action Menu(Args& args)
{
    const auto res = args.Int<std::int16_t>("a menu resource number");
    const auto item = args.Int<std::int32_t>("an item index");
    std::optional<std::string> addOn;
    if (!args.Done())
        addOn = args.Str("an add-on's name");
    return [=](ScriptRunner& runner) {
        Host& host = runner.GetHost();
        AddOn* target = nullptr;
        if (addOn && !(target = host.FindAddOn(*addOn)))
            return runner.Fail("no add-on named " + Quote(*addOn) + " is loaded");
        const CommandOutcome sent = host.MenuCommand(res, item, target);
        if (!sent.Delivered())
            runner.Fail(sent.refusal);
        else if (sent.code != 0)
            host.Log().Add("menu " + std::to_string(res) + " " + std::to_string(item) + " answered " +
                           ErrorText(sent.code));
    };
}

std::uint32_t CommandCode(Args& args)
{
    const Token* t = args.Peek();
    if (t && t->kind == Token::Kind::Number)
        return args.Int<std::uint32_t>("a command code");
    const std::string code = args.Str("a four-character command code such as \"QRT \"");
    if (code.size() != 4)
        throw std::runtime_error("a command code has four characters, not " + std::to_string(code.size()));
    return kfsdk::FourCharCode(code);
}

Action Command(Args& args)
{
    const std::uint32_t cmd = CommandCode(args);
    const auto version = args.Int<std::int32_t>("a command version");
    std::optional<ModuleID> target;
    if (!args.Done()) {
        ModuleID id;
        id.developerID = args.Int<std::uint32_t>("a developer id");
        id.localID = args.Int<std::uint32_t>("a local id");
        target = id;
    }
    return [=](ScriptRunner& runner) {
        Host& host = runner.GetHost();
        const CommandOutcome sent = host.ModuleCommand({cmd, version, target ? &*target : nullptr});
        if (!sent.Delivered())
            runner.Fail(sent.refusal);
        else if (sent.code != 0)
            host.Log().Add("command " + Quote(FourCCText(cmd)) + " answered " + ErrorText(sent.code));
    };
}

// A user action on an item of the current dialog, by the runner's hand; a refusal is a failure.
template <class Act>
Action OnItem(Act act)
{
    return [act](ScriptRunner& runner) {
        std::string why;
        if (!act(runner.Hand(), CurrentDialog(runner), &why))
            runner.Fail(why);
    };
}

Action Click(Args& args)
{
    const auto item = args.Int<std::int16_t>("an item number");
    return OnItem([=](UserHand& hand, Dialog& dialog, std::string* why) { return hand.Click(dialog, item, why); });
}

Action Select(Args& args)
{
    const auto item = args.Int<std::int16_t>("an item number");
    const auto row = args.Int<std::int16_t>("a row number");
    return OnItem(
        [=](UserHand& hand, Dialog& dialog, std::string* why) { return hand.Select(dialog, item, row, why); });
}

Action Type(Args& args)
{
    const auto item = args.Int<std::int16_t>("an item number");
    const std::u16string text = FromUTF8(args.Str("the text"));
    return OnItem([=](UserHand& hand, Dialog& dialog, std::string* why) { return hand.Type(dialog, item, text, why); });
}

Action Close(Args&)
{
    return [](ScriptRunner& runner) { runner.Hand().CloseBox(CurrentDialog(runner)); };
}

Action Answer(Args& args)
{
    using Kind = ScriptRunner::SystemAnswer::Kind;
    const std::string kind = args.Word();
    ScriptRunner::SystemAnswer answer{Kind::Cancel, {}, 0, {}};
    if (kind == "file" || kind == "folder") {
        answer.kind = kind == "file" ? Kind::File : Kind::Folder;
        answer.path = FromUTF8(args.Str("a path"));
        if (kind == "file" && !args.Done())
            answer.filter = args.Int<std::uint32_t>("a filter position");
    } else if (kind != "cancel") {
        throw std::runtime_error("answer file, answer folder or answer cancel");
    }
    return [answer](ScriptRunner& runner) mutable {
        answer.origin = runner.CurrentLine().value_or(ScriptLine{});
        runner.AddAnswer(answer);
    };
}

Action Wait(Args& args)
{
    const double seconds = args.Real("seconds");
    return [=](ScriptRunner& runner) { runner.GetHost().Loop().RunFor(seconds); };
}

// Every bundle unloaded and loaded again from disk, as a developer does after a rebuild. Not from
// inside an add-on's call (a modal dialog's lines): its code is still running. A bundle that does
// not load again ends a written script, whose later lines would only fail; at a terminal the
// developer fixes it and types reload again.
Action Reload(Args&)
{
    return [](ScriptRunner& runner) {
        if (const auto [addOn, call] = CurrentCall(); !addOn.empty())
            return runner.Fail("cannot reload while \"" + addOn + "\" is in " + call + ": close its dialog first");
        bool loaded = true;
        for (const LoadResult& r : runner.GetHost().ReloadBundles())
            if (!r.Loaded()) {
                runner.Fail("cannot load " + r.path.string() + " again: " + r.reason);
                loaded = false;
            }
        if (!loaded && !runner.Interactive()) {
            runner.Stop();
            runner.Fail("the rest of the script is skipped");
        }
    };
}

Action FailFiles(Args& args)
{
    const std::string opName = args.Word();
    const auto op = FileOpFromName(opName);
    if (!op)
        throw std::runtime_error("unknown file operation '" + opName + "'");
    const std::string pattern = args.Str("a path pattern");
    const auto code = args.Code("a host error code");
    const int count = args.Done() ? 1 : args.Int<int>("a count");
    return [=](ScriptRunner& runner) {
        const auto& line = runner.CurrentLine();
        runner.GetHost().Faults().Fail(*op, pattern, code, count,
                                       line ? ScriptRunner::Where(*line) + ": " + line->text : std::string());
    };
}

Action Print(Args&)
{
    return [](ScriptRunner& runner) {
        Host& host = runner.GetHost();
        if (const Dialog* d = host.Dialogs().Current())
            for (auto& l : DescribeDialog(*d))
                host.Log().Add(std::move(l));
        else
            host.Log().Add("no dialog");
    };
}

Action Expect(Args& args)
{
    const std::string what = args.Word();
    const Verb* check = FindVerb(ExpectVerbs(), what);
    if (!check)
        throw std::runtime_error("unknown expectation '" + what + "'");
    Action act = check->parse(args);
    return [act = std::move(act)](ScriptRunner& runner) {
        runner.CountExpect();
        act(runner);
    };
}

constexpr Verb kCommandVerbs[] = {
    {"menu", true, Menu},       {"command", true, Command}, {"click", true, Click},    {"select", true, Select},
    {"type", true, Type},       {"close", true, Close},     {"answer", false, Answer}, {"wait", true, Wait},
    {"fail", false, FailFiles}, {"print", false, Print},    {"expect", false, Expect}, {"reload", true, Reload},
};

} // namespace

std::span<const Verb> CommandVerbs()
{
    return kCommandVerbs;
}

const Verb* FindVerb(std::span<const Verb> verbs, std::string_view name)
{
    const auto it = std::find_if(verbs.begin(), verbs.end(), [&](const Verb& v) { return v.name == name; });
    return it == verbs.end() ? nullptr : &*it;
}

Dialog& CurrentDialog(ScriptRunner& runner)
{
    Dialog* d = runner.GetHost().Dialogs().Current();
    if (!d)
        throw std::runtime_error("no dialog is open");
    return *d;
}

} // namespace kfhost::script
