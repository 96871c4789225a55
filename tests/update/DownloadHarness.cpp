#include "DownloadHarness.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace kftest {

int Recorder::CallBack(KF_URL_Message message, double progress, void* userData)
{
    auto* recorder = static_cast<Recorder*>(userData);
    recorder->events.push_back({message, progress});
    if (message == KF_URL_Opened) {
        recorder->targetExistedAtOpening = std::filesystem::exists(recorder->target);
        return recorder->openedAnswer;
    }
    return 0;
}

bool Recorder::Ended() const
{
    return !events.empty() && (events.back().message == KF_URL_Done || events.back().message == KF_URL_Failed);
}

std::string Recorder::Story() const
{
    static const char* const kNames[] = {"Opened", "Failed", "Data", "Done", "Close"};
    std::string story;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (i > 0 && events[i].message == KF_URL_Data && events[i - 1].message == KF_URL_Data)
            continue;
        if (!story.empty())
            story += ' ';
        story += kNames[events[i].message];
    }
    return story;
}

long Recorder::Count(KF_URL_Message message) const
{
    long n = 0;
    for (const Event& e : events)
        n += e.message == message ? 1 : 0;
    return n;
}

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

std::size_t EntriesFor(const std::filesystem::path& target)
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(target.parent_path()))
        count += entry.path().filename().string().rfind(target.filename().string(), 0) == 0 ? 1 : 0;
    return count;
}

std::unique_ptr<kfupd::UpdateServer> StartLoopbackServer(const std::filesystem::path& root)
{
    kfupd::ServerOptions options;
    options.root = root;
    options.testRoutes = true;
    auto server = std::make_unique<kfupd::UpdateServer>(options);
    if (server->Start() < 0)
        throw std::runtime_error("the loopback server did not start");
    return server;
}

DownloadTest::DownloadTest(double limitSeconds, const std::filesystem::path& resourceFolder)
    : server_(StartLoopbackServer(served_.Path()))
{
    kfhost::HostConfig config;
    config.updateServer = server_->BaseUrl();
    if (limitSeconds > 0)
        config.downloadLimit = limitSeconds;
    host_ = std::make_unique<kftest::InProcessHost>(config);
    if (!resourceFolder.empty())
        host_->AddResourceFolder(resourceFolder);
    host_->Attach();
}

DownloadTest::~DownloadTest()
{
    // Whatever a test left running ends with the host's loop; stop the server first so that
    // nothing hangs on it.
    server_->Stop();
    host_->RunLoop(2.0);
}

std::filesystem::path DownloadTest::ServedFile(const std::string& relative, const std::string& content)
{
    std::filesystem::path const file = served_.Path() / relative;
    kftest::WriteFile(file, content);
    return file;
}

Recorder& DownloadTest::NewRecorder(int openedAnswer)
{
    recorders_.emplace_back();
    recorders_.back().openedAnswer = openedAnswer;
    return recorders_.back();
}

std::filesystem::path DownloadTest::Target(const std::string& name) const
{
    return host_->TempDir() / name;
}

bool DownloadTest::Start(const std::string& url, Recorder& recorder, const std::string& targetName)
{
    recorder.target = Target(targetName);
    return KF_General::URLDownload(KF_String(url.c_str(), KF_String::Enc_UTF8),
                                   KF_Location(KF_String(recorder.target.c_str(), KF_String::Enc_UTF8)),
                                   &Recorder::CallBack, &recorder);
}

} // namespace kftest
