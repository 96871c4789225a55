// Helpers every check uses: reporting to the parent, loading the bundle, playing the user, files.
#include "ChildProcess.hpp"
#include "Monkey.hpp"
#include "Processes.hpp"
#include "StageResources.hpp"
#include "Validation.hpp"
#include "kfhost/Text.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

namespace kfhost::validate {

namespace fs = std::filesystem;

void Reporter::Fail(std::string_view key, std::string_view text)
{
    failed_ = true;
    // What an add-on said (an exception's text) must not split the line anew.
    auto plain = [](std::string_view part) {
        std::string out(part);
        std::replace(out.begin(), out.end(), kKeySeparator, '?');
        return out;
    };
    if (key == text)
        Line('F', plain(text));
    else
        Line('F', plain(key) + kKeySeparator + plain(text));
}

void Reporter::Measured(std::string_view label, double seconds)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "\t%.6f", seconds);
    Line('M', std::string(label) + buf);
}

const std::string* CheckContext::Known(const std::string& key) const
{
    const auto it = knownBad.find(key);
    return it == knownBad.end() ? nullptr : &it->second;
}

void Reporter::Line(char kind, std::string_view text)
{
    if (fd_ < 0)
        return;
    std::string line(1, kind);
    line += ' ';
    if (kind == 'C' || kind == 'U' || kind == 'T')
        line += CallStamp();
    for (const char c : text)
        line += c == '\n' ? ' ' : c;
    line += '\n';
    // One write per line: the parent must see it even when the next call kills us.
    for (std::size_t done = 0; done < line.size();) {
        const ssize_t n = ::write(fd_, line.data() + done, line.size() - done);
        if (n <= 0)
            return;
        done += std::size_t(n);
    }
}

HostConfig ConfigFor(const fs::path& frameworkFolder, const std::string& updateServer)
{
    HostConfig config;
    config.frameworkFolder = frameworkFolder;
    // Port 9 of loopback refuses at once: a download started without a server fails quickly.
    config.updateServer = updateServer.empty() ? "127.0.0.1:9" : updateServer;
    config.downloadLimit = 3;
    return config;
}

AddOn* LoadFor(Host& host, CheckContext& ctx)
{
    const std::string step = "load (CheckEnvironment, RegisterInterface, Initialize)";
    ctx.report.Calling(step);
    const std::size_t logFrom = host.Log().Lines().size();
    const LoadResult result = host.LoadBundle(ctx.bundle);
    if (!result.Loaded())
        ctx.report.Fail("the bundle does not load: " + result.reason);
    else
        ctx.report.AddOnName(result.addOn->name);
    AfterCall(host, ctx, step, step, logFrom);
    return result.addOn;
}

void UnloadFor(Host& host, CheckContext& ctx)
{
    const std::string step = "unload (FreeData)";
    ctx.report.Calling(step);
    const std::size_t logFrom = host.Log().Lines().size();
    host.UnloadAll();
    AfterCall(host, ctx, step, step, logFrom);
}

void AfterCall(Host& host, CheckContext& ctx, const std::string& label, const std::string& key, std::size_t logFrom)
{
    // The host logs an exception that left an add-on's call where it caught it.
    const auto& lines = host.Log().Lines();
    for (std::size_t i = logFrom; i < lines.size(); ++i)
        if (lines[i].rfind("exception from ", 0) == 0)
            ctx.report.Fail(lines[i], lines[i] + ", during " + label);
    for (const pid_t pid : ChildProcesses()) {
        const std::string finding = "left process " + std::to_string(pid) + " running after " + label;
        ctx.report.Fail("left a process running after " + key, finding + " (ended)");
        EndProcess(pid);
        // What such a process did to files cannot be told from what the call did: later checks leave
        // the call out.
        ctx.report.LeaveOut(key, "it leaves a process running");
        ++ctx.processesLeft;
    }
}

std::string UserCall::Label() const
{
    if (menu)
        return "menu " + std::to_string(menuResID) + " item " + std::to_string(item);
    return "module command " + Quote(FourCCText(command)) + " " + std::to_string(version);
}

std::string UserCall::Key() const
{
    if (menu)
        return "item " + std::to_string(item) + " of the add-on's menu " + std::to_string(menuIndex + 1);
    return Label();
}

std::vector<UserCall> UserCalls(Host& host, const AddOn& addOn)
{
    std::vector<UserCall> calls;
    int index = 0;
    for (const RegisteredMenu& menu : host.Menus()) {
        if (menu.owner != &addOn)
            continue;
        for (std::size_t i = 0; i < menu.items.size(); ++i)
            if (!(menu.items[i].flags & 1))
                calls.push_back(UserCall{true, menu.resID, std::int32_t(i + 1), 0, 0, index});
        ++index;
    }
    for (const auto& [command, version] : addOn.services)
        calls.push_back(UserCall{false, 0, 0, command, version});
    return calls;
}

Monkey& InstallMonkey(Host& host, std::mt19937_64& rng, bool passive)
{
    auto monkey = std::make_unique<Monkey>(host, rng, passive);
    Monkey& ref = *monkey;
    host.SetDialogBackend(std::move(monkey));
    return ref;
}

std::map<std::string, double> Play(Session& session, std::span<const UserCall> calls)
{
    constexpr int kActionsPerCall = 60;
    CheckContext& ctx = session.ctx;
    // Within the parent's limit for the call's timers, so that an add-on that keeps a timer going
    // for good is not taken for one that hangs.
    const double settleSeconds = std::min(4.0, 0.8 * ctx.callSeconds);
    std::map<std::string, double> times;
    Host& host = session.host;
    for (const UserCall& call : calls) {
        const std::string label = call.Label(), key = call.Key();
        if (const std::string* finding = ctx.Known(key)) {
            if (ctx.leftOut.insert(key).second)
                ctx.report.Note("left out " + label + ": " + *finding);
            continue;
        }
        ctx.report.UserCall(label, key);
        const std::size_t logFrom = host.Log().Lines().size();
        session.monkey.NewCall(kActionsPerCall);
        const auto start = std::chrono::steady_clock::now();
        const ModuleID target = session.addOn.moduleID;
        const std::string why = call.menu ? host.MenuCommand(call.menuResID, call.item, &session.addOn).refusal
                                          : host.ModuleCommand({call.command, call.version, &target}).refusal;
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (!why.empty())
            ctx.report.Fail(label + ": the host cannot deliver it: " + why);
        double& slot = times[label];
        slot = std::max(slot, seconds);
        // Timers and downloads the call started run to their end before the next call.
        ctx.report.Timers(label, key);
        const double until = host.Loop().Now() + settleSeconds;
        while (host.Loop().HasPending() && host.Loop().Now() < until)
            host.Loop().RunFor(0.05);
        session.monkey.DriveModeless();
        AfterCall(host, ctx, label, key, logFrom);
    }
    return times;
}

std::map<std::string, std::string> FolderContents(const fs::path& folder)
{
    std::map<std::string, std::string> files;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        if (it->is_regular_file(ec))
            files[it->path().filename().string()] = ReadWhole(it->path());
    return files;
}

std::string ReadWhole(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteWhole(const fs::path& file, std::string_view bytes)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), std::streamsize(bytes.size()));
}

std::string SwapNibbles(std::string_view bytes)
{
    std::string out(bytes);
    for (char& c : out) {
        const auto b = static_cast<unsigned char>(c);
        c = static_cast<char>(((b & 0x0F) << 4) | (b >> 4));
    }
    return out;
}

void ReportTime(CheckContext& ctx, const std::string& what, double seconds)
{
    ctx.report.Measured(what, seconds);
    if (ctx.callBudget > 0 && seconds > ctx.callBudget)
        ctx.report.Fail(what + " takes " + Milliseconds(seconds) + ", more than the " + Milliseconds(ctx.callBudget) +
                        " of --call-budget");
}

std::string Shown(const CheckContext& ctx, const std::string& path)
{
    const std::string scratch = ctx.scratch.string();
    if (!scratch.empty() && path.rfind(scratch, 0) == 0)
        return "<framework folder>" + path.substr(scratch.size());
    // kfresources leaves the bundle a list of the files its resources were built from.
    const fs::path resources = ctx.bundle / "Resources";
    const fs::path relative = fs::path(path).lexically_relative(resources);
    if (relative.empty() || *relative.begin() == "..")
        return path;
    std::ifstream sources(resources / kSourcesFile);
    for (std::string line; std::getline(sources, line);) {
        const std::size_t tab = line.find('\t');
        if (tab == std::string::npos || line.substr(0, tab) != relative.generic_string())
            continue;
        const std::string source = line.substr(tab + 1);
        // Only while the source still says what the bundle says: lines would not match otherwise.
        std::error_code ec;
        if (fs::is_regular_file(source, ec) && ReadWhole(source) == ReadWhole(path))
            return source;
        break;
    }
    return path;
}

std::string Milliseconds(double seconds)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f ms", seconds * 1000.0);
    return buf;
}

} // namespace kfhost::validate
