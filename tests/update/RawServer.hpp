#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kftest {

// A loopback server that speaks raw bytes, for answers no proper server gives (resets, lying
// lengths, broken chunks), for a proxy and for the HTTP fuzz target. Each connection's request head is recorded, then
// answer writes what it likes to the socket, which is closed after it.
class RawServer {
public:
    using Answer = std::function<void(int client, const std::string& head)>;
    explicit RawServer(Answer answer);
    ~RawServer();
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    int Port() const { return port_; }
    std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
    // First lines of the requests received, in order.
    std::vector<std::string> RequestLines() const;

    // Helpers for answers: every byte or until the peer goes; a close that is a reset.
    static void Send(int client, std::string_view bytes);
    static void ResetOnClose(int client);

private:
    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace kftest
