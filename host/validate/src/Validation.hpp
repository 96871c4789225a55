// What the checks share: the line protocol to the parent, the context of one check, the registry,
// and the helpers that load the bundle and play the user's part.
#pragma once

#include "kfhost/Host.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost::validate {

// Lines to the parent, one per event:
//   A name       the add-on's name
//   C text       a step of the validator's own (loading, unloading, a scenario): a crash or a hang
//                in it is laid at its door
//   U label<TAB>key  a call the user makes (a menu item, a module command): a crash or a hang in it
//                ends that call only, and the check starts again without it. The key is the same
//                for the same item of every language's copy of a menu.
//   T label<TAB>key  the timers and downloads that call started, in the same way
//   F text       a failure; "F key<US>text" when findings of one key are one finding whatever the text
//   W text       a warning;  N text  what was measured;  S text  why the check does not apply
//   M label<TAB>seconds  how long a call took
//   X key<TAB>why        leave this call out from now on (what it does cannot be judged)
//   D            the check is done
// C, U and T lines each start a call of its own time limit (the parent's).
class Reporter {
public:
    explicit Reporter(int fd) : fd_(fd) {}
    void Fail(std::string_view text) { Fail(text, text); }
    void Fail(std::string_view key, std::string_view text);
    void Warn(std::string_view text) { Line('W', text); }
    void Note(std::string_view text) { Line('N', text); }
    void Skip(std::string_view why) { Line('S', why); }
    void Calling(std::string_view step) { Line('C', step); }
    void UserCall(std::string_view label, std::string_view key) { Line('U', Tabbed(label, key)); }
    void Timers(std::string_view label, std::string_view key) { Line('T', Tabbed(label, key)); }
    void Measured(std::string_view label, double seconds);
    void AddOnName(std::string_view name) { Line('A', name); }
    void LeaveOut(std::string_view label, std::string_view why)
    {
        Line('X', std::string(label) + '\t' + std::string(why));
    }
    void Done() { Line('D', ""); }
    bool Failed() const { return failed_; }

private:
    static std::string Tabbed(std::string_view a, std::string_view b) { return std::string(a) + '\t' + std::string(b); }
    void Line(char kind, std::string_view text);
    int fd_;
    bool failed_ = false;
};

// The separator of a failure's key and its text.
inline constexpr char kKeySeparator = '\x1f';

struct CheckContext {
    CheckContext(std::filesystem::path bundle_, std::filesystem::path scratch_, int strictness_, std::uint64_t seed_,
                 Reporter& report_)
        : bundle(std::move(bundle_)),
          scratch(std::move(scratch_)),
          strictness(strictness_),
          seed(seed_),
          report(report_)
    {}

    std::filesystem::path bundle;
    std::filesystem::path scratch; // empty and this check's own
    int strictness = 5;
    std::uint64_t seed = 0;
    Reporter& report;
    // Calls that crashed or hung in an earlier process of this run: key -> the finding.
    std::map<std::string, std::string> knownBad;
    double callSeconds = 5;        // the parent's limit for one call
    double callBudget = 0;         // a call slower than this fails; 0: times are only reported
    std::set<std::string> leftOut; // keys of calls already said to be left out
    int processesLeft = 0;         // processes the add-on left running, so far

    // The finding that ended this call (by its key) before, or null.
    const std::string* Known(const std::string& key) const;
};

struct CheckInfo {
    std::string_view name;
    int level; // the lowest strictness that runs it
    std::string_view what;
    void (*run)(CheckContext&);
};

std::span<const CheckInfo> Checks();
const CheckInfo* FindCheck(std::string_view name);

// The checks, one function each.
void CheckBundle(CheckContext& ctx);
void CheckLoad(CheckContext& ctx);
void CheckCycles(CheckContext& ctx);
void CheckMenus(CheckContext& ctx);
void CheckTranslations(CheckContext& ctx);
void CheckStore(CheckContext& ctx);
void CheckSurroundings(CheckContext& ctx);
void CheckUpdate(CheckContext& ctx);

// ---- helpers ----

// Reports how long a call took, and fails it when the run set a budget and it took longer.
void ReportTime(CheckContext& ctx, const std::string& what, double seconds);

// A host for one run in frameworkFolder: downloads go nowhere unless a server is named, and give
// up after a few seconds.
HostConfig ConfigFor(const std::filesystem::path& frameworkFolder, const std::string& updateServer = {});
// Loads the bundle of ctx; a refusal is reported as a failure and answers null.
AddOn* LoadFor(Host& host, CheckContext& ctx);
// FreeData and dlclose of every add-on of host.
void UnloadFor(Host& host, CheckContext& ctx);
// What a call (label, and key as in UserCall::Key) left behind: exceptions that escaped the add-on
// since the transcript had logFrom lines, and processes it left running (named and ended).
void AfterCall(Host& host, CheckContext& ctx, const std::string& label, const std::string& key, std::size_t logFrom);

// One thing a user can do to a loaded add-on: choose a menu item or send it a module command.
struct UserCall {
    bool menu = true;
    std::int16_t menuResID = 0;
    std::int32_t item = 0;
    std::uint32_t command = 0;
    std::int32_t version = 0;
    int menuIndex = 0; // among the add-on's registered menus
    // "menu 32501 item 1", "module command 'QRT ' 0"
    std::string Label() const;
    // The same for the same item whichever language's copy of the menu is registered:
    // "item 1 of the add-on's menu 1".
    std::string Key() const;
};
// Every enabled item of the add-on's registered menus in the menus' order, then its commands.
std::vector<UserCall> UserCalls(Host& host, const AddOn& addOn);

// Plays the user: drives every dialog that opens (or, passive, only closes it), answers alerts
// with their first button and system dialogs with a cancel.
class Monkey;
struct Session {
    Host& host;
    AddOn& addOn;
    Monkey& monkey;
    CheckContext& ctx;
};
Monkey& InstallMonkey(Host& host, std::mt19937_64& rng, bool passive);
// Makes each call (announced with UserCall, left out when it crashed or hung before), lets timers
// and downloads settle, closes what stayed open. Answers the time of each call in seconds, by label
// (the longest of repeats).
std::map<std::string, double> Play(Session& session, std::span<const UserCall> calls);

// Files directly in a folder: name -> content.
std::map<std::string, std::string> FolderContents(const std::filesystem::path& folder);
std::string ReadWhole(const std::filesystem::path& file);
void WriteWhole(const std::filesystem::path& file, std::string_view bytes);
// The settings files' on-disk form: the two halves of every byte swapped (its own inverse).
std::string SwapNibbles(std::string_view bytes);

std::string Milliseconds(double seconds);

// A path as the developer knows it: the framework folder of the check as "<framework folder>",
// a file of the bundle's resources as the source file it was built from (when it is known).
std::string Shown(const CheckContext& ctx, const std::string& path);

} // namespace kfhost::validate
