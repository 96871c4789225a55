// What the checks share: the line protocol to the parent, the context of one check, the registry,
// and the helpers that load the bundle and play the user's part.
#pragma once

#include "kfhost/Host.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kfhost::validate {

// Lines to the parent, one per call: F failure, W warning, N measured note, S skipped, A the add-on's
// name, C the call under way (a crash or a hang in it is laid at its door), D the check's end.
class Reporter {
public:
    explicit Reporter(int fd) : fd_(fd) {}
    void Fail(std::string_view text);
    void Warn(std::string_view text) { Line('W', text); }
    void Note(std::string_view text) { Line('N', text); }
    void Skip(std::string_view why) { Line('S', why); }
    void Calling(std::string_view call) { Line('C', call); }
    void AddOnName(std::string_view name) { Line('A', name); }
    void Done() { Line('D', ""); }
    bool Failed() const { return failed_; }

private:
    void Line(char kind, std::string_view text);
    int fd_;
    bool failed_ = false;
};

struct CheckContext {
    std::filesystem::path bundle;
    std::filesystem::path scratch; // empty and this check's own
    int strictness = 5;
    std::uint64_t seed = 0;
    Reporter& report;
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

// An entry point or a call slower than this keeps the user waiting: always reported, a failure from
// kTimingLevel on.
constexpr double kCallBudgetSeconds = 1.0;
constexpr int kTimingLevel = 8;
// Reports how long something took, and fails it when it took too long at this strictness.
void ReportTime(CheckContext& ctx, const std::string& what, double seconds);

// A host for one run in frameworkFolder: downloads go nowhere unless a server is named, and give
// up after a few seconds.
HostConfig ConfigFor(const std::filesystem::path& frameworkFolder, const std::string& updateServer = {});
// Loads the bundle of ctx; a refusal is reported as a failure and answers null.
AddOn* LoadFor(Host& host, CheckContext& ctx);

// One thing a user can do to a loaded add-on: choose a menu item or send it a module command.
struct UserCall {
    bool menu = true;
    std::int16_t menuResID = 0;
    std::int32_t item = 0;
    std::uint32_t command = 0;
    std::int32_t version = 0;
    std::string Label() const;
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
// Makes each call (attributed through Calling), lets timers and downloads settle, closes what stayed
// open. Answers the time of each call in seconds, by label (the longest of repeats).
std::map<std::string, double> Play(Session& session, std::span<const UserCall> calls);

// Files directly in a folder: name -> content.
std::map<std::string, std::string> FolderContents(const std::filesystem::path& folder);
std::string ReadWhole(const std::filesystem::path& file);
void WriteWhole(const std::filesystem::path& file, std::string_view bytes);
// The settings files' on-disk form: the two halves of every byte swapped (its own inverse).
std::string SwapNibbles(std::string_view bytes);

std::string Milliseconds(double seconds);

// What keeps a PNG image from being shown; empty when it decodes.
std::string PngProblem(std::string_view data);

} // namespace kfhost::validate
