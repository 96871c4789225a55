// A small HTTP server for versions files on loopback: the demo and test counterpart of the
// maker's update server. Serves the files of one folder; optionally a set of misbehaving test
// routes (redirect chains, error pages, trickling, hanging, large bodies).
#pragma once

#include <httplib.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kfupd {

struct ServerOptions {
    std::filesystem::path root;     // folder whose files are served ("/" maps to it)
    std::string host = "127.0.0.1"; // loopback only unless asked otherwise
    int port = 0;                   // 0: let the system pick one
    bool testRoutes = false;        // add the /test/... routes
};

// Shared by route handlers that must give up when the server stops (hang, trickle).
class StopSignal {
public:
    void Raise();
    bool Raised() const;
    // Waits up to `for_` or until raised; true when raised.
    bool WaitFor(std::chrono::milliseconds for_) const;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable cv_;
    bool raised_ = false;
};

class UpdateServer {
public:
    explicit UpdateServer(ServerOptions options);
    ~UpdateServer();
    UpdateServer(const UpdateServer&) = delete;
    UpdateServer& operator=(const UpdateServer&) = delete;

    // Binds the port; the port bound, or -1. Clients can connect from here on.
    int Bind();
    // Bind() and serve on a thread of its own; the port, or -1.
    int Start();
    void Stop();

    int Port() const { return port_; }
    std::string BaseUrl() const;
    // Raw request targets in arrival order (escapes as the client sent them).
    std::vector<std::string> RequestTargets() const;

private:
    void Record(const httplib::Request& request);

    ServerOptions options_;
    httplib::Server server_;
    StopSignal stop_;
    std::thread thread_;
    int port_ = -1;
    mutable std::mutex logMutex_;
    std::vector<std::string> targets_;
};

// Route installers (one file each).
void AddFileRoutes(httplib::Server& server, const std::filesystem::path& root);
void AddTestRoutes(httplib::Server& server, const std::filesystem::path& root, const StopSignal& stop);

} // namespace kfupd
