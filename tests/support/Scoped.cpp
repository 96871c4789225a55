#include "kftest/Scoped.hpp"
#include "kftest/Patience.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace kftest {

namespace {

std::optional<std::string> Get(const std::string& name)
{
    const char* value = std::getenv(name.c_str());
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

void Set(const std::string& name, const std::optional<std::string>& value)
{
    if (value)
        ::setenv(name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(name.c_str());
}

} // namespace

ScopedEnv::ScopedEnv(const std::string& name, const std::optional<std::string>& value) : name_(name), before_(Get(name))
{
    Set(name_, value);
}

ScopedEnv::~ScopedEnv()
{
    Set(name_, before_);
}

ScopedCurrentPath::ScopedCurrentPath(const std::filesystem::path& folder) : before_(std::filesystem::current_path())
{
    std::filesystem::current_path(folder);
}

ScopedCurrentPath::~ScopedCurrentPath()
{
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
}

RefusingPort::RefusingPort() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (socket_ < 0 || ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (socket_ >= 0)
            ::close(socket_);
        throw std::runtime_error("cannot bind a port on loopback");
    }
    port_ = ntohs(address.sin_port);
}

RefusingPort::~RefusingPort()
{
    ::close(socket_);
}

bool WaitUntil(const std::function<bool()>& pred, double patience)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(patience);
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string RefusingPort::Url() const
{
    return "http://127.0.0.1:" + std::to_string(port_);
}

} // namespace kftest
