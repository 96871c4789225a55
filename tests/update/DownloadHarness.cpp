#include "DownloadHarness.hpp"

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

bool DownloadTest::Start(const std::string& url, Recorder& recorder, const std::string& targetName,
                         unsigned long long maxBytes)
{
    recorder.target = Target(targetName);
    const KF_String address(url.c_str(), KF_String::Enc_UTF8);
    const KF_Location target(KF_String(recorder.target.c_str(), KF_String::Enc_UTF8));
    return maxBytes == 0 ? KF_General::URLDownload(address, target, &Recorder::CallBack, &recorder)
                         : KF_General::URLDownload(address, target, &Recorder::CallBack, &recorder, maxBytes);
}

} // namespace kftest
