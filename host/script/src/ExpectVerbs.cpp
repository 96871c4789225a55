// The checks of `expect`: each says what was there when it does not hold.
#include "Verbs.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"

namespace kfhost::script {
namespace {

DialogItem& ItemOf(Dialog& d, std::int16_t n)
{
    DialogItem* it = d.Item(n);
    if (!it)
        throw std::runtime_error("dialog " + std::to_string(d.resID) + " has no item " + std::to_string(n));
    return *it;
}

Action DialogIs(Args& args)
{
    const auto res = args.Int<std::int16_t>("a dialog resource number");
    return [=](ScriptRunner& runner) {
        const Dialog* d = runner.GetHost().Dialogs().Current();
        if (!d)
            runner.Fail("no dialog is open");
        else if (d->resID != res)
            runner.Fail("dialog " + std::to_string(d->resID) + " is open");
    };
}

Action NoDialog(Args&)
{
    return [](ScriptRunner& runner) {
        if (const Dialog* d = runner.GetHost().Dialogs().Current())
            runner.Fail("dialog " + std::to_string(d->resID) + " is open");
    };
}

Action Title(Args& args)
{
    const std::u16string title = FromUTF8(args.Str("a title"));
    return [=](ScriptRunner& runner) {
        const Dialog& d = CurrentDialog(runner);
        if (d.title != title)
            runner.Fail("the title is " + Quote(d.title));
    };
}

Action Text(Args& args)
{
    const auto n = args.Int<std::int16_t>("an item number");
    const std::u16string text = FromUTF8(args.Str("a text"));
    return [=](ScriptRunner& runner) {
        const DialogItem& it = ItemOf(CurrentDialog(runner), n);
        if (it.text != text)
            runner.Fail("item " + std::to_string(n) + " shows " + Quote(it.text));
    };
}

// An item state and its opposite: `want` is the state the check asks for.
template <bool DialogItem::*Flag, bool want>
Action State(Args& args)
{
    const auto n = args.Int<std::int16_t>("an item number");
    return [=](ScriptRunner& runner) {
        const DialogItem& it = ItemOf(CurrentDialog(runner), n);
        if (it.*Flag == want)
            return;
        constexpr const char* names[3][2] = {{"hidden", "visible"}, {"disabled", "enabled"}, {"unchecked", "checked"}};
        const int kind = Flag == &DialogItem::visible ? 0 : Flag == &DialogItem::enabled ? 1 : 2;
        runner.Fail("item " + std::to_string(n) + " is " + names[kind][it.*Flag ? 1 : 0]);
    };
}

Action Selected(Args& args)
{
    const auto n = args.Int<std::int16_t>("an item number");
    const auto row = args.Int<std::int16_t>("a row number");
    return [=](ScriptRunner& runner) {
        const DialogItem& it = ItemOf(CurrentDialog(runner), n);
        if (it.FirstSelected() != row)
            runner.Fail(it.FirstSelected() == 0 ? "no row of item " + std::to_string(n) + " is selected"
                                                : "row " + std::to_string(it.FirstSelected()) + " is selected");
    };
}

Action Rows(Args& args)
{
    const auto n = args.Int<std::int16_t>("an item number");
    const auto count = args.Int<std::int64_t>("a row count");
    return [=](ScriptRunner& runner) {
        const DialogItem& it = ItemOf(CurrentDialog(runner), n);
        if (std::int64_t(it.rows.size()) != count)
            runner.Fail("item " + std::to_string(n) + " has " + std::to_string(it.rows.size()) + " rows");
    };
}

Action Row(Args& args)
{
    const auto n = args.Int<std::int16_t>("an item number");
    const auto row = args.Int<std::int16_t>("a row number");
    const std::u16string text = FromUTF8(args.Str("a text"));
    const auto tab = args.Done() ? std::int16_t(0) : args.Int<std::int16_t>("a tab field");
    return [=](ScriptRunner& runner) {
        const DialogItem& it = ItemOf(CurrentDialog(runner), n);
        if (row < 1 || std::size_t(row) > it.rows.size())
            runner.Fail("item " + std::to_string(n) + " has " + std::to_string(it.rows.size()) + " rows");
        else if (it.RowText(row, tab) != text)
            runner.Fail("row " + std::to_string(row) + " shows " + Quote(it.RowText(row, tab)));
    };
}

Action Alert(Args& args)
{
    const std::u16string text = FromUTF8(args.Str("the alert's text"));
    return [=](ScriptRunner& runner) {
        const auto alert = runner.TakeAlert();
        if (!alert)
            runner.Fail("no alert was shown");
        else if (alert->texts[1] != text)
            runner.Fail("the alert says " + Quote(alert->texts[1]));
    };
}

Action NoAlert(Args&)
{
    return [](ScriptRunner& runner) {
        if (!runner.Alerts().empty())
            runner.Fail("an alert says " + Quote(runner.Alerts().front().texts[1]));
    };
}

Action Launched(Args& args)
{
    const std::string arg = args.Str("an argument");
    return [=](ScriptRunner& runner) {
        const auto& launched = runner.GetHost().Launched();
        if (launched.empty())
            return runner.Fail("nothing was launched");
        const auto& last = launched.back();
        if (std::find(last.begin(), last.end(), arg) != last.end())
            return;
        std::string all;
        for (const auto& a : last)
            all += " " + Quote(a);
        runner.Fail("the last launch was" + all);
    };
}

constexpr Verb kExpectVerbs[] = {
    {"dialog", false, DialogIs},
    {"no-dialog", false, NoDialog},
    {"title", false, Title},
    {"text", false, Text},
    {"visible", false, State<&DialogItem::visible, true>},
    {"hidden", false, State<&DialogItem::visible, false>},
    {"enabled", false, State<&DialogItem::enabled, true>},
    {"disabled", false, State<&DialogItem::enabled, false>},
    {"checked", false, State<&DialogItem::checked, true>},
    {"unchecked", false, State<&DialogItem::checked, false>},
    {"selected", false, Selected},
    {"rows", false, Rows},
    {"row", false, Row},
    {"alert", false, Alert},
    {"no-alert", false, NoAlert},
    {"launched", false, Launched},
};

} // namespace

std::span<const Verb> ExpectVerbs()
{
    return kExpectVerbs;
}

} // namespace kfhost::script
