// The framework folder: stores left alone when the user changes nothing, and surroundings that
// are not what the add-on expects.
#include "Validation.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <functional>

namespace kfhost::validate {

namespace fs = std::filesystem;

namespace {

const std::string kSharedStore = "Quadrelle.cfg";

struct FileState {
    std::string bytes;
    ino_t inode = 0;
    std::int64_t modified = 0; // ns
};

std::map<std::string, FileState> Snapshot(const fs::path& folder)
{
    std::map<std::string, FileState> files;
    for (auto& [name, bytes] : FolderContents(folder)) {
        struct stat st {};
        if (::stat((folder / name).c_str(), &st) != 0)
            continue;
        files[name] =
            FileState{std::move(bytes), st.st_ino, std::int64_t(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
    }
    return files;
}

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// A copy of the old content left beside the new file.
bool KeptBeside(const std::map<std::string, std::string>& files, const std::string& bytes)
{
    return std::any_of(files.begin(), files.end(), [&](const auto& file) { return file.second == bytes; });
}

// A settings file rewritten with every entry it had (and perhaps more).
bool EntriesKept(const std::string& before, const std::string& after)
{
    const std::string old = SwapNibbles(before), now = SwapNibbles(after);
    for (std::size_t begin = 0; begin < old.size();) {
        std::size_t end = old.find("\n$", begin);
        end = end == std::string::npos ? old.size() : end + 1;
        if (now.find(old.substr(begin, end - begin)) == std::string::npos)
            return false;
        begin = end;
    }
    return true;
}

// Loads the add-on, makes every call as a user who only closes what opens, and unloads it.
void PassiveRun(CheckContext& ctx, const fs::path& folder, bool withCalls,
                const std::function<void(Host&)>& prepare = {})
{
    Host host(ConfigFor(folder));
    if (prepare)
        prepare(host);
    std::mt19937_64 rng(ctx.seed);
    Monkey& monkey = InstallMonkey(host, rng, true);
    AddOn* addOn = LoadFor(host, ctx);
    if (!addOn)
        return;
    if (withCalls) {
        Session session{host, *addOn, monkey, ctx};
        Play(session, UserCalls(host, *addOn));
    }
    UnloadFor(host, ctx);
}

} // namespace

void CheckStore(CheckContext& ctx)
{
    const fs::path folder = ctx.scratch / "framework";
    fs::create_directories(folder);
    WriteWhole(folder / kSharedStore, SwapNibbles("$Language_str: int\n"));
    // The first run may create what the add-on keeps; the second only reads it.
    PassiveRun(ctx, folder, false);
    const auto before = Snapshot(folder);
    PassiveRun(ctx, folder, false);
    const auto after = Snapshot(folder);
    // What a process the add-on left did is that process's finding, not the store's.
    if (ctx.processesLeft > 0)
        return;
    for (const auto& [name, state] : before) {
        if (!EndsWith(name, ".cfg"))
            continue;
        const auto now = after.find(name);
        if (now == after.end())
            ctx.report.Fail(name + " is removed at load");
        else if (now->second.bytes != state.bytes)
            ctx.report.Fail(name + " is changed at load although the user changed nothing");
        else if (now->second.inode != state.inode || now->second.modified != state.modified)
            ctx.report.Fail(name + " is rewritten at load although nothing in it changed");
    }
}

void CheckSurroundings(CheckContext& ctx)
{
    Reporter& report = ctx.report;
    // What the add-on writes on first use tells its own store and communication files apart.
    const fs::path first = ctx.scratch / "first-use";
    fs::create_directories(first);
    {
        Host host(ConfigFor(first));
        std::mt19937_64 rng(ctx.seed);
        Monkey& monkey = InstallMonkey(host, rng, false);
        if (AddOn* addOn = LoadFor(host, ctx)) {
            Session session{host, *addOn, monkey, ctx};
            Play(session, UserCalls(host, *addOn));
            UnloadFor(host, ctx);
        }
    }
    const auto written = FolderContents(first);

    const std::string validShared = SwapNibbles("$Language_str: fra\n$Other_Addon: kept\n");
    struct Scenario {
        std::string name;
        std::map<std::string, std::string> plant;
        bool readOnly = false;
        bool missingFolder = false;
    };
    std::vector<Scenario> scenarios;
    scenarios.push_back(
        {"corrupt shared settings file", {{kSharedStore, validShared + "\xff\x00garbage\r\n" + SwapNibbles("$x")}}});
    scenarios.push_back({"truncated shared settings file", {{kSharedStore, validShared.substr(0, 27)}}});
    for (const auto& [name, bytes] : written) {
        if (EndsWith(name, ".cfg") && name != kSharedStore) {
            scenarios.push_back({"corrupt settings file " + name, {{name, bytes + "\x13\x37\xff garbage"}}});
            scenarios.push_back({"truncated settings file " + name, {{name, bytes.substr(0, bytes.size() / 2)}}});
        }
        if (EndsWith(name, ".sui"))
            for (const char* version : {"16", "18"}) {
                std::string other = name;
                other.replace(name.size() - 6, 2, version);
                scenarios.push_back({"communication file " + other + " of another host version",
                                     {{other, "garbage of another version\n"}, {kSharedStore, validShared}}});
            }
    }
    for (const std::string other : {"Tavolo_HV16.sui", "Tavolo_HV18.sui"})
        scenarios.push_back({"communication file " + other + " of another host version",
                             {{other, "1\n"}, {kSharedStore, validShared}}});
    scenarios.push_back({"read-only framework folder", {{kSharedStore, validShared}}, true});
    scenarios.push_back({"missing framework folder", {}, false, true});

    for (std::size_t i = 0; i < scenarios.size(); ++i) {
        const Scenario& scenario = scenarios[i];
        const fs::path folder = ctx.scratch / ("scenario-" + std::to_string(i));
        if (!scenario.missingFolder)
            fs::create_directories(folder);
        for (const auto& [name, bytes] : scenario.plant)
            WriteWhole(folder / name, bytes);
        const auto before = FolderContents(folder);
        const int processesLeft = ctx.processesLeft;
        report.Calling(scenario.name);
        PassiveRun(ctx, folder, true, [&](Host& host) {
            if (!scenario.readOnly)
                return;
            const std::string pattern = folder.string() + "/*";
            for (const FileOp op : {FileOp::Create, FileOp::Write, FileOp::Delete, FileOp::Move, FileOp::Folder})
                host.Faults().Fail(op, pattern, KF_IOERR_ACCESSDENIED, -1);
        });
        // What a process the add-on left did is no finding of the scenario: the process is one.
        if (ctx.processesLeft != processesLeft)
            continue;
        // The user did nothing: what was there is there, byte for byte, and nothing half-done is left.
        const auto after = FolderContents(folder);
        for (const auto& [name, bytes] : before) {
            const auto now = after.find(name);
            if (now != after.end() && now->second == bytes)
                continue;
            if (KeptBeside(after, bytes) || (now != after.end() && EntriesKept(bytes, now->second)))
                continue; // written on purpose, and nothing that was there lost
            report.Fail(scenario.name + ": what " + name + " held is lost" +
                        (now == after.end() ? " (the file is gone)" : " (it was rewritten without it)"));
        }
        for (const auto& [name, bytes] : after)
            if (EndsWith(name, "tmp"))
                report.Fail(scenario.name + ": the temporary file " + name + " is left behind");
    }
    report.Note(std::to_string(scenarios.size()) + " surroundings tried");
}

} // namespace kfhost::validate
