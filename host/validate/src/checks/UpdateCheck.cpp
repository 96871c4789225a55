// Update checks against a loopback server that the check runs itself: an error page, an empty
// file, a newer and an older release, and a server that never answers.
#include "Monkey.hpp"
#include "Validation.hpp"

#include <httplib.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <sstream>
#include <thread>

namespace kfhost::validate {

namespace fs = std::filesystem;

namespace {

constexpr double kDownloadLimit = 2.0; // seconds, handed to the add-on through the host
constexpr double kGraceSeconds = 3.0;  // beyond the limit, for the outcome to show

enum class Serve { VersionsFile, ErrorPage, Empty, Hang };

class LoopbackServer {
public:
    LoopbackServer()
    {
        // A few threads do (the server owns the pool): one may wait in a request that never answers, the
        // next scenario needs another.
        server_.new_task_queue = [] { return new httplib::ThreadPool(3); };
        server_.Get("/update_plugins/versions16.txt", [this](const httplib::Request&, httplib::Response& response) {
            ++requests_;
            Serve serve;
            std::string body;
            {
                std::lock_guard lock(mutex_);
                serve = serve_;
                body = body_;
            }
            switch (serve) {
            case Serve::VersionsFile:
                response.set_content(body, "text/plain");
                break;
            case Serve::Empty:
                response.set_content("", "text/plain");
                break;
            case Serve::ErrorPage:
                response.status = 500;
                response.set_content("<html><body><h1>Internal Server Error</h1></body></html>\n", "text/html");
                break;
            case Serve::Hang:
                // Until the next scenario: a hanging request must not hold a server thread for good.
                while (!stopping_ && Current() == Serve::Hang)
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                response.status = 503;
                break;
            }
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        if (port_ <= 0)
            return;
        // The server's threads never take SIGPIPE (they inherit this mask), so that the add-on meets
        // it as in every other check: the server library ignores it for the whole process.
        sigset_t pipe, old;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &pipe, &old);
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
        // stop() before the server runs would be lost, and the thread never end.
        while (!server_.is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ::signal(SIGPIPE, SIG_DFL);
    }
    ~LoopbackServer()
    {
        stopping_ = true;
        server_.stop();
        if (thread_.joinable())
            thread_.join();
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int Port() const { return port_; }
    Serve Current()
    {
        std::lock_guard lock(mutex_);
        return serve_;
    }
    int Requests() const { return requests_; }
    void Set(Serve serve, std::string body = {})
    {
        std::lock_guard lock(mutex_);
        serve_ = serve;
        body_ = std::move(body);
    }

private:
    httplib::Server server_;
    std::thread thread_;
    int port_ = -1;
    std::atomic<int> requests_{0};
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    Serve serve_ = Serve::Empty;
    std::string body_;
};

// The add-on's own version line with the release year moved by `years`: "CODE a.b.c.d (HVn) DD/MM/YYYY".
std::string MovedRelease(const std::string& line, int years)
{
    const std::size_t slash = line.rfind('/');
    if (slash == std::string::npos || slash + 5 != line.size())
        return {};
    return line.substr(0, slash + 1) + std::to_string(std::stoi(line.substr(slash + 1)) + years);
}

// A versions file with a line of another add-on (and of another host), and the given one.
std::string VersionsFile(const std::string& line)
{
    return "* versions file served by kfhost validate\r\nZZZ 9.9.9.9 (HV999) 01/01/2030\r\n" + line + "\r\n";
}

struct Outcome {
    int requests = 0;
    int alerts = 0;
    int dialogs = 0;
    std::string alert; // the last alert's text
    double seconds = 0;
    bool temporaryLeft = false;
};

Outcome TryCall(CheckContext& ctx, LoopbackServer& server, const fs::path& folder, const UserCall& call)
{
    fs::create_directories(folder);
    WriteWhole(folder / "Quadrelle.cfg", SwapNibbles("$Language_str: int\n"));
    HostConfig config = ConfigFor(folder, "127.0.0.1:" + std::to_string(server.Port()));
    config.downloadLimit = kDownloadLimit;
    Host host(config);
    std::mt19937_64 rng(ctx.seed);
    Monkey& monkey = InstallMonkey(host, rng, true);
    Outcome outcome;
    AddOn* addOn = LoadFor(host, ctx);
    if (!addOn)
        return outcome;
    const int requests = server.Requests();
    const int alertsBefore = monkey.Alerts(), dialogsBefore = monkey.DialogsShown();
    const auto start = std::chrono::steady_clock::now();
    Session session{host, *addOn, monkey, ctx};
    Play(session, std::span(&call, 1));
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.requests = server.Requests() - requests;
    outcome.alerts = monkey.Alerts() - alertsBefore;
    outcome.dialogs = monkey.DialogsShown() - dialogsBefore;
    outcome.alert = monkey.LastAlert();
    UnloadFor(host, ctx);
    for (const auto& [name, bytes] : FolderContents(folder))
        outcome.temporaryLeft = outcome.temporaryLeft || name.ends_with("tmp");
    return outcome;
}

// Which of the user's calls asks the server: each is made in turn, in one host, as a user who only
// closes what opens.
std::vector<UserCall> CallsThatAsk(CheckContext& ctx, LoopbackServer& server)
{
    const fs::path folder = ctx.scratch / "discover";
    fs::create_directories(folder);
    WriteWhole(folder / "Quadrelle.cfg", SwapNibbles("$Language_str: int\n"));
    Host host(ConfigFor(folder, "127.0.0.1:" + std::to_string(server.Port())));
    std::mt19937_64 rng(ctx.seed);
    Monkey& monkey = InstallMonkey(host, rng, true);
    std::vector<UserCall> asking;
    AddOn* addOn = LoadFor(host, ctx);
    if (!addOn)
        return asking;
    Session session{host, *addOn, monkey, ctx};
    for (const UserCall& call : UserCalls(host, *addOn)) {
        const int before = server.Requests();
        Play(session, std::span(&call, 1));
        if (server.Requests() > before)
            asking.push_back(call);
    }
    UnloadFor(host, ctx);
    return asking;
}

} // namespace

void CheckUpdate(CheckContext& ctx)
{
    Reporter& report = ctx.report;
    LoopbackServer server;
    if (server.Port() <= 0) {
        report.Fail("cannot start a loopback server");
        return;
    }
    const std::vector<UserCall> checking = CallsThatAsk(ctx, server);
    if (checking.empty()) {
        report.Skip("the add-on does not check for updates");
        return;
    }

    const char* versionLine = std::getenv("KF_VALIDATE_VERSION_LINE");
    struct Scenario {
        std::string name;
        Serve serve;
        std::string body;
        bool answered = false; // a versions file that reads well: the outcome is no failure alert
    };
    std::vector<Scenario> scenarios{{"a well-formed versions file", Serve::VersionsFile, VersionsFile({}), true},
                                    {"an error page", Serve::ErrorPage, {}},
                                    {"an empty versions file", Serve::Empty, {}},
                                    {"a server that never answers", Serve::Hang, {}}};
    if (versionLine && *versionLine) {
        scenarios.push_back({"a newer release", Serve::VersionsFile, VersionsFile(MovedRelease(versionLine, 1)), true});
        scenarios.push_back(
            {"an older release", Serve::VersionsFile, VersionsFile(MovedRelease(versionLine, -1)), true});
    } else {
        report.Warn("newer and older releases not tried: give the add-on's version line with --version-line");
    }
    int n = 0;
    for (const UserCall& call : checking)
        for (const Scenario& scenario : scenarios) {
            server.Set(scenario.serve, scenario.body);
            report.Calling(call.Label() + " against " + scenario.name);
            const Outcome outcome = TryCall(ctx, server, ctx.scratch / ("scenario-" + std::to_string(n++)), call);
            const std::string what = call.Label() + " against " + scenario.name + ": ";
            const int outcomes = outcome.alerts + outcome.dialogs;
            // An automatic check that finds nothing newer stays silent; one the user asked for
            // shows its result.
            if (scenario.answered && outcome.alerts > 0)
                report.Fail(what + "shows the alert \"" + outcome.alert +
                            "\" although the server answered well: is the add-on's version line of the form "
                            "CODE a.b.c.d (HVn) DD/MM/YYYY?");
            else if (outcomes > 1 || (outcomes == 0 && !scenario.answered))
                report.Fail(what + std::to_string(outcomes) + " outcomes (alerts and dialogs), not one");
            if (outcome.seconds > kDownloadLimit + kGraceSeconds)
                report.Fail(what + "the outcome took " + Milliseconds(outcome.seconds));
            if (outcome.temporaryLeft)
                report.Fail(what + "a temporary file is left behind");
            report.Note(what + Milliseconds(outcome.seconds));
        }
}

} // namespace kfhost::validate
