// Every menu item and module command, as a user would reach them, and the texts they ask for.
#include "Monkey.hpp"
#include "Validation.hpp"
#include "kfhost/Text.hpp"

#include <algorithm>
#include <array>
#include <regex>
#include <set>

namespace kfhost::validate {

namespace {

constexpr int kRandomOrderLevel = 5;

constexpr std::array<std::string_view, 7> kLanguages{"ita", "int", "fra", "ger", "spa", "jap", "rus"};
constexpr int kEnglish = 1;

// Loads the add-on and makes every call, in the menus' order and (at higher strictness) again in a
// seeded random order. Answers the strings the run looked up, with the add-on's string lists.
struct Played {
    std::set<std::pair<std::int16_t, std::int16_t>> asked;
    std::map<std::int16_t, std::map<std::int16_t, std::u16string>> strings;
    bool loaded = false;
};

Played PlayAll(CheckContext& ctx, bool reportTimes)
{
    Played played;
    Host host(ConfigFor(ctx.scratch));
    std::mt19937_64 rng(ctx.seed);
    Monkey& monkey = InstallMonkey(host, rng, false);
    AddOn* addOn = LoadFor(host, ctx);
    if (!addOn)
        return played;
    played.loaded = true;
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
    if (reportTimes) {
        for (const auto& [label, seconds] : times)
            ReportTime(ctx, label, seconds);
        ctx.report.Note(std::to_string(monkey.DialogsShown()) + " dialogs shown, " + std::to_string(monkey.Alerts()) +
                        " alerts");
    }
    played.asked = addOn->stringsAsked;
    played.strings = addOn->resources.strings;
    ctx.report.Calling("unload (FreeData)");
    host.UnloadAll();
    return played;
}

// Runs of seven consecutive string lists are one text in the seven languages: base + language.
std::vector<std::int16_t> LanguageFamilies(const Played& played)
{
    std::vector<std::int16_t> bases;
    const auto& lists = played.strings;
    for (auto it = lists.begin(); it != lists.end();) {
        std::int16_t first = it->first, last = first;
        for (++it; it != lists.end() && it->first == last + 1; ++it)
            last = it->first;
        const int count = last - first + 1;
        for (int base = first; base + 6 <= last; base += 7)
            bases.push_back(std::int16_t(base));
        if (count % 7 != 0 && count > 1)
            bases.push_back(std::int16_t(0 - first)); // marks a run of the wrong length
    }
    return bases;
}

std::string ListName(std::int16_t base, int language)
{
    return std::to_string(base + language) + " (" + std::string(kLanguages[std::size_t(language)]) + ")";
}

// The placeholders a text carries, in order: replaced at run time, so every language needs them.
std::multiset<std::string> Placeholders(const std::u16string& text)
{
    static const std::regex pattern(R"(ADDONLIBNAME|ADDONNAME|%[-+ #0-9.]*[a-zA-Z%]|\^[0-9])");
    std::multiset<std::string> found;
    const std::string utf8 = ToUTF8(text);
    for (std::sregex_iterator it(utf8.begin(), utf8.end(), pattern), end; it != end; ++it)
        if (it->str() != "%%")
            found.insert(it->str());
    return found;
}

std::string Join(const std::multiset<std::string>& items)
{
    std::string out;
    for (const auto& item : items)
        out += (out.empty() ? "" : " ") + item;
    return out.empty() ? "none" : out;
}

bool Asked(const Played& played, std::int16_t base, std::int16_t index)
{
    for (int language = 0; language < 7; ++language)
        if (played.asked.contains({std::int16_t(base + language), index}))
            return true;
    return false;
}

void CheckFamily(const Played& played, std::int16_t base, Reporter& report)
{
    const auto& english = played.strings.at(std::int16_t(base + kEnglish));
    std::set<std::int16_t> indexes;
    for (int language = 0; language < 7; ++language)
        for (const auto& [index, text] : played.strings.at(std::int16_t(base + language)))
            indexes.insert(index);
    for (int language = 0; language < 7; ++language) {
        const auto& list = played.strings.at(std::int16_t(base + language));
        std::string missing;
        for (const std::int16_t index : indexes)
            if (!list.contains(index))
                missing += (missing.empty() ? "" : ", ") + std::to_string(index) +
                           (Asked(played, base, index) ? " (asked for during the run)" : "");
        if (!missing.empty())
            report.Fail("string list " + ListName(base, language) + " lacks " + missing + " that other languages have");
        for (const auto& [index, text] : list) {
            const std::string where = "string list " + ListName(base, language) + " index " + std::to_string(index);
            if (text.empty()) {
                report.Fail(where + " is empty");
                continue;
            }
            const auto en = english.find(index);
            if (en == english.end() || language == kEnglish)
                continue;
            if (text == en->second)
                report.Warn(where + " is the English text \"" + ToUTF8(text) + "\"");
            if (const auto mine = Placeholders(text), theirs = Placeholders(en->second); mine != theirs)
                report.Fail(where + " carries the placeholders " + Join(mine) + " where English carries " +
                            Join(theirs));
        }
    }
}

} // namespace

void CheckMenus(CheckContext& ctx)
{
    PlayAll(ctx, true);
}

void CheckTranslations(CheckContext& ctx)
{
    const Played played = PlayAll(ctx, false);
    if (!played.loaded)
        return;
    Reporter& report = ctx.report;
    std::vector<std::int16_t> families;
    for (const std::int16_t base : LanguageFamilies(played)) {
        if (base < 0) {
            const std::int16_t first = std::int16_t(-base);
            report.Fail("string lists from " + std::to_string(first) +
                        " on are not a whole number of seven-language sets");
            continue;
        }
        families.push_back(base);
        CheckFamily(played, base, report);
    }
    // Every text looked up during the run exists in every language of its set.
    for (const auto& [resID, index] : played.asked) {
        const auto family = std::find_if(families.begin(), families.end(),
                                         [&](std::int16_t base) { return resID >= base && resID < base + 7; });
        if (family == families.end()) {
            const auto list = played.strings.find(resID);
            if (list == played.strings.end() || !list->second.contains(index))
                report.Fail("string " + std::to_string(index) + " of list " + std::to_string(resID) +
                            " is asked for but does not exist");
            continue;
        }
        bool anywhere = false;
        for (int language = 0; language < 7; ++language)
            anywhere = anywhere || played.strings.at(std::int16_t(*family + language)).contains(index);
        if (!anywhere)
            report.Fail("string " + std::to_string(index) + " is asked for but exists in no list of " +
                        std::to_string(*family) + " to " + std::to_string(*family + 6));
    }
    report.Note(std::to_string(played.asked.size()) + " strings asked for, " + std::to_string(families.size()) +
                " seven-language sets");
}

} // namespace kfhost::validate
