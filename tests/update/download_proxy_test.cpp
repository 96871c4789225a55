// Proxies: the downloader takes them from the environment like any command-line tool, and sends
// loopback addresses direct unless no_proxy is set, which then alone decides.
#include "DownloadHarness.hpp"

using namespace kftest;

namespace {

class ProxiedDownload : public DownloadTest {
protected:
    ProxiedDownload()
        : proxy_([](int client, const std::string&) {
              RawServer::Send(client, "HTTP/1.1 200 OK\r\nContent-Length: 9\r\nConnection: close\r\n\r\nvia proxy");
          })
    {
        ServedFile("direct.txt", "direct");
    }

    // What a download of url brought, or "failed".
    std::string Fetched(const std::string& url)
    {
        Recorder& r = NewRecorder();
        if (!Fetch(url, r, "fetched" + std::to_string(++count_) + ".txt"))
            return "did not end";
        return r.events.back().message == KF_URL_Done ? kftest::ReadFile(r.target) : "failed";
    }
    std::string Localhost(const std::string& path) const
    {
        return "http://localhost:" + std::to_string(server_->Port()) + path;
    }

    RawServer proxy_;
    int count_ = 0;
    ScopedEnv httpProxy_{"http_proxy", proxy_.Url("")};
    ScopedEnv allProxy_{"all_proxy", std::nullopt};
    ScopedEnv noProxy_{"no_proxy", std::nullopt};
    ScopedEnv noProxyUpper_{"NO_PROXY", std::nullopt};
};

} // namespace

TEST_F(ProxiedDownload, LoopbackGoesDirectAndEverythingElseThroughTheProxy)
{
    EXPECT_EQ(Fetched(Url("/direct.txt")), "direct");
    EXPECT_EQ(Fetched(Localhost("/direct.txt")), "direct");
    EXPECT_TRUE(proxy_.RequestLines().empty());

    EXPECT_EQ(Fetched("http://updates.example.invalid/update_plugins/versions16.txt"), "via proxy");
    EXPECT_EQ(proxy_.RequestLines(),
              (std::vector<std::string>{"GET http://updates.example.invalid/update_plugins/versions16.txt HTTP/1.1"}));
}

TEST_F(ProxiedDownload, ASetNoProxyAloneDecides)
{
    {
        // Loopback is not in the list: through the proxy like the rest.
        ScopedEnv list("no_proxy", "updates.example.invalid");
        EXPECT_EQ(Fetched(Url("/direct.txt")), "via proxy");
        EXPECT_EQ(proxy_.RequestLines().size(), 1u);
        EXPECT_EQ(Fetched("http://updates.example.invalid/x"), "failed") << "direct, and no such host";
    }
    {
        ScopedEnv list("NO_PROXY", "127.0.0.1");
        EXPECT_EQ(Fetched(Url("/direct.txt")), "direct");
        EXPECT_EQ(Fetched(Localhost("/direct.txt")), "via proxy");
    }
}
