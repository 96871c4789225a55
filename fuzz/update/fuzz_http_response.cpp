// HTTP responses as the downloader receives them: a loopback server answers every request with the
// input (status line, headers, redirects, content encoding, body), and the download of it must end
// with exactly one Done or Failed, within its size limit, leaving a file only when it is Done.
#include "KF/KF_General.hpp"
#include "RawServer.hpp"
#include "kftest/InProcessHost.hpp"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

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
        std::string const answer = Contained(data, size);
        kftest::RawServer server([&](int client, const std::string&) { kftest::RawServer::Send(client, answer); });
        std::string const url = server.Url("/file");
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
