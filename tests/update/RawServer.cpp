#include "RawServer.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace kftest {

RawServer::RawServer(Answer answer)
{
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(listener_, 8) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(listener_);
        throw std::runtime_error("cannot listen on loopback");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this, answer = std::move(answer)] {
        // Ends when the destructor shuts the listener down.
        for (int client; (client = ::accept(listener_, nullptr, nullptr)) >= 0;) {
            std::string head;
            char buffer[4096];
            while (head.find("\r\n\r\n") == std::string::npos) {
                const ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
                if (n <= 0)
                    break;
                head.append(buffer, static_cast<std::size_t>(n));
            }
            {
                std::lock_guard<std::mutex> lock(mutex_);
                lines_.push_back(head.substr(0, head.find("\r\n")));
            }
            answer(client, head);
            ::close(client);
        }
    });
}

RawServer::~RawServer()
{
    ::shutdown(listener_, SHUT_RDWR);
    if (thread_.joinable())
        thread_.join();
    ::close(listener_);
}

std::vector<std::string> RawServer::RequestLines() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
}

void RawServer::Send(int client, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t n = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
}

void RawServer::ResetOnClose(int client)
{
    // A zero linger time turns the close into a reset.
    const linger abort{1, 0};
    ::setsockopt(client, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
}

} // namespace kftest
