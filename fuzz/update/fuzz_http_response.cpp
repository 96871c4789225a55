// HTTP responses as the downloader receives them: a loopback server answers every request with the
// input (status line, headers, redirects, content encoding, body), and the download of it must end
// with exactly one Done or Failed, within its size limit, leaving a file only when it is Done.
#include "KF/KF_General.hpp"
#include "kftest/InProcessHost.hpp"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace {

constexpr unsigned long long kLimit = 64 * 1024;

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// A redirect may name any address. The target runs in a network namespace of its own with only
// the loopback interface, so that nothing it does can leave this machine.
void IsolateNetwork()
{
    Check(::unshare(CLONE_NEWNET) == 0);
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::snprintf(request.ifr_name, IFNAMSIZ, "lo");
    Check(fd >= 0 && ::ioctl(fd, SIOCGIFFLAGS, &request) == 0);
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    Check(::ioctl(fd, SIOCSIFFLAGS, &request) == 0);
    ::close(fd);
}

// And absolute or scheme-relative addresses are broken besides: every "//" and ":/" of the input
// loses its slash, so that a redirect can only lead back to this server.
std::string Contained(const std::uint8_t* data, std::size_t size)
{
    std::string answer(reinterpret_cast<const char*>(data), size);
    for (std::size_t at = answer.find('/', 1); at != std::string::npos; at = answer.find('/', at + 1))
        if (answer[at - 1] == '/' || answer[at - 1] == ':')
            answer[at] = '_';
    return answer;
}

class LoopbackServer {
public:
    explicit LoopbackServer(std::string answer) : answer_(std::move(answer))
    {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        Check(::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) == 0 && ::listen(listener_, 8) == 0 &&
              ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) == 0);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~LoopbackServer()
    {
        stop_ = true;
        thread_.join();
        ::close(listener_);
    }
    int Port() const { return port_; }

private:
    void Serve()
    {
        while (!stop_) {
            pollfd ready{listener_, POLLIN, 0};
            if (::poll(&ready, 1, 20) <= 0)
                continue;
            const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0)
                continue;
            // The request up to its blank line, then the answer, then the end of the connection.
            std::string request;
            char buffer[1024];
            while (request.find("\r\n\r\n") == std::string::npos && request.size() < 65536) {
                pollfd in{client, POLLIN, 0};
                if (stop_ || ::poll(&in, 1, 200) <= 0)
                    break;
                const ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
                if (n <= 0)
                    break;
                request.append(buffer, std::size_t(n));
            }
            ::send(client, answer_.data(), answer_.size(), MSG_NOSIGNAL);
            ::close(client);
        }
    }

    std::string answer_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

struct Outcome {
    int ends = 0;
    int opened = 0;
    KF_URL_Message last = KF_URL_Data;
};

int CallBack(KF_URL_Message message, double, void* userData)
{
    auto& outcome = *static_cast<Outcome*>(userData);
    Check(outcome.ends == 0);
    if (message == KF_URL_Opened)
        ++outcome.opened;
    if (message == KF_URL_Done || message == KF_URL_Failed) {
        ++outcome.ends;
        outcome.last = message;
    }
    return 0;
}

kftest::InProcessHost& Host()
{
    static kftest::InProcessHost* host = [] {
        IsolateNetwork();
        kfhost::HostConfig config;
        config.downloadLimit = 3;
        auto* made = new kftest::InProcessHost(config);
        made->Attach();
        return made;
    }();
    return *host;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kftest::InProcessHost& host = Host();
    std::filesystem::path const target = host.TempDir() / "download.bin";
    Outcome outcome;
    {
        LoopbackServer server(Contained(data, size));
        std::string const url = "http://127.0.0.1:" + std::to_string(server.Port()) + "/file";
        Check(KF_General::URLDownload(KF_String(url.c_str(), KF_String::Enc_UTF8),
                                      KF_Location(KF_String(target.c_str(), KF_String::Enc_UTF8)), CallBack, &outcome,
                                      kLimit));
        Check(host.RunUntil([&] { return outcome.ends > 0; }, 10.0));
    }
    host.RunLoop(0.0);
    Check(outcome.ends == 1 && outcome.opened <= 1);
    std::size_t entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(host.TempDir()))
        entries += entry.path().filename().string().rfind("download.bin", 0) == 0 ? 1 : 0;
    if (outcome.last == KF_URL_Done) {
        Check(entries == 1 && std::filesystem::file_size(target) <= kLimit);
        std::filesystem::remove(target);
    } else {
        Check(entries == 0);
    }
    return 0;
}
