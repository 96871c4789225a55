// Every menu item and module command, as a user would reach them, and the texts they ask for.
#include "Monkey.hpp"
#include "ResourceCheck.hpp"
#include "Validation.hpp"

#include <algorithm>

namespace kfhost::validate {

namespace {

constexpr int kRandomOrderLevel = 5;

// A string the run looked up that no language has: the user sees the marker of a missing text.
// Missing in some languages only is the translations check's finding (the look-up falls back to
// English).
void ReportMissingStrings(const AddOn& addOn, Reporter& report)
{
    const ResourceModule& module = addOn.resources;
    const LanguageSets sets = FindLanguageSets(module);
    for (const auto& [resID, index] : addOn.stringsAsked) {
        if (module.String(resID, index))
            continue;
        const auto set = std::find_if(sets.bases.begin(), sets.bases.end(),
                                      [&](std::int16_t base) { return resID >= base && resID < base + 7; });
        if (set == sets.bases.end()) {
            report.Fail("string " + std::to_string(index) + " of list " + std::to_string(resID) +
                        " is asked for but does not exist");
            continue;
        }
        bool anywhere = false;
        for (int language = 0; language < 7; ++language)
            anywhere = anywhere || module.String(std::int16_t(*set + language), index);
        if (!anywhere)
            report.Fail("string " + std::to_string(index) + " is asked for but exists in no list of " +
                        std::to_string(*set) + " to " + std::to_string(*set + 6));
    }
}

} // namespace

// Loads the add-on and makes every call, in the menus' order and (at higher strictness) again in a
// seeded random order.
void CheckMenus(CheckContext& ctx)
{
    Host host(ConfigFor(ctx.scratch));
    std::mt19937_64 rng(ctx.seed);
    Monkey& monkey = InstallMonkey(host, rng, false);
    AddOn* addOn = LoadFor(host, ctx);
    if (!addOn)
        return;
    Session session{host, *addOn, monkey, ctx};
    std::vector<UserCall> calls = UserCalls(host, *addOn);
    if (calls.empty())
        ctx.report.Warn("the add-on registers no menu item and serves no module command");
    auto times = Play(session, calls);
    if (ctx.strictness >= kRandomOrderLevel) {
        std::shuffle(calls.begin(), calls.end(), rng);
        for (const auto& [label, seconds] : Play(session, calls))
            times[label] = std::max(times[label], seconds);
    }
    for (const auto& [label, seconds] : times)
        ReportTime(ctx, label, seconds);
    ctx.report.Note(std::to_string(monkey.DialogsShown()) + " dialogs shown, " + std::to_string(monkey.Alerts()) +
                    " alerts");
    ReportMissingStrings(*addOn, ctx.report);
    UnloadFor(host, ctx);
}

} // namespace kfhost::validate
