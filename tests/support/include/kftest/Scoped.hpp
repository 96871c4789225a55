// Process-wide state a test changes for a while, put back when the guard goes, even when an
// assertion ends the test early: the next test in the same program starts as this one did.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kftest {

// An environment variable set (or removed, with std::nullopt) for the guard's life.
class ScopedEnv {
public:
    ScopedEnv(const std::string& name, const std::optional<std::string>& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

// The process's working folder changed for the guard's life.
class ScopedCurrentPath {
public:
    explicit ScopedCurrentPath(const std::filesystem::path& folder);
    ~ScopedCurrentPath();
    ScopedCurrentPath(const ScopedCurrentPath&) = delete;
    ScopedCurrentPath& operator=(const ScopedCurrentPath&) = delete;

private:
    std::filesystem::path before_;
};

// A loopback port that refuses every connection for the guard's life: bound but not listening, so
// no other server can take it meanwhile (a port a server used and gave up can be taken).
class RefusingPort {
public:
    RefusingPort();
    ~RefusingPort();
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;
    int Port() const { return port_; }
    // http://127.0.0.1:<port>
    std::string Url() const;

private:
    int socket_ = -1;
    int port_ = 0;
};

} // namespace kftest
