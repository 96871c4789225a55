// Helpers every check uses: reporting to the parent, loading the bundle, playing the user, files.
#include "Monkey.hpp"
#include "Validation.hpp"
#include "kfhost/Text.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

namespace kfhost::validate {

namespace fs = std::filesystem;

void Reporter::Fail(std::string_view text)
{
    failed_ = true;
    Line('F', text);
}

void Reporter::Line(char kind, std::string_view text)
{
    if (fd_ < 0)
        return;
    std::string line(1, kind);
    line += ' ';
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
    ctx.report.Calling("load (CheckEnvironment, RegisterInterface, Initialize)");
    const LoadResult result = host.LoadBundle(ctx.bundle);
    if (!result.Loaded())
        ctx.report.Fail("the bundle does not load: " + result.reason);
    else
        ctx.report.AddOnName(result.addOn->name);
    return result.addOn;
}

std::string UserCall::Label() const
{
    if (menu)
        return "menu " + std::to_string(menuResID) + " item " + std::to_string(item);
    return "module command " + Quote(FourCCText(command)) + " " + std::to_string(version);
}

std::vector<UserCall> UserCalls(Host& host, const AddOn& addOn)
{
    std::vector<UserCall> calls;
    for (const RegisteredMenu& menu : host.Menus()) {
        if (menu.owner != &addOn)
            continue;
        for (std::size_t i = 0; i < menu.items.size(); ++i)
            if (!(menu.items[i].flags & 1))
                calls.push_back(UserCall{true, menu.resID, std::int32_t(i + 1), 0, 0});
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
    constexpr double kSettleSeconds = 5.0;
    std::map<std::string, double> times;
    Host& host = session.host;
    for (const UserCall& call : calls) {
        const std::string label = call.Label();
        session.ctx.report.Calling(label);
        session.monkey.NewCall(kActionsPerCall);
        const auto start = std::chrono::steady_clock::now();
        const ModuleID target = session.addOn.moduleID;
        const std::string why = call.menu ? host.MenuCommand(call.menuResID, call.item, &session.addOn).refusal
                                          : host.ModuleCommand({call.command, call.version, &target}).refusal;
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (!why.empty())
            session.ctx.report.Fail(label + ": the host cannot deliver it: " + why);
        double& slot = times[label];
        slot = std::max(slot, seconds);
        // Timers and downloads the call started run to their end before the next call.
        const double until = host.Loop().Now() + kSettleSeconds;
        while (host.Loop().HasPending() && host.Loop().Now() < until)
            host.Loop().RunFor(0.05);
        session.monkey.DriveModeless();
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
    ctx.report.Note(what + ": " + Milliseconds(seconds));
    if (ctx.strictness >= kTimingLevel && seconds > kCallBudgetSeconds)
        ctx.report.Fail(what + " takes " + Milliseconds(seconds) + ", more than the " +
                        Milliseconds(kCallBudgetSeconds) + " it may take");
}

std::string Milliseconds(double seconds)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f ms", seconds * 1000.0);
    return buf;
}

} // namespace kfhost::validate
