// The downloader against a real web server: nginx on loopback, started by the test with a
// configuration, prefix and port of its own (no root needed). Skipped when nginx is absent.
#include "DownloadHarness.hpp"
#include "kftest/Patience.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

extern char** environ;

using namespace kftest;

namespace {

std::string FindNginx()
{
    for (const char* candidate : {"/usr/sbin/nginx", "/usr/local/sbin/nginx", "/usr/bin/nginx"})
        if (::access(candidate, X_OK) == 0)
            return candidate;
    return {};
}

int FreePort()
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(s, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(s);
    return ntohs(address.sin_port);
}

bool Accepts(int port)
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(s);
    return ok;
}

class NginxDownload : public DownloadTest {
protected:
    // nginx cannot take port 0 and say which port it got: it gets a port that was free a moment
    // ago, and when another program took it meanwhile, nginx ends and the next port is tried.
    void SetUp() override
    {
        std::string const nginx = FindNginx();
        if (nginx.empty())
            GTEST_SKIP() << "nginx is not installed (Debian: nginx-light); the real-server checks are skipped";
        prefix_ = host_->TempDir() / "nginx";
        std::filesystem::create_directories(prefix_ / "tmp");
        std::filesystem::create_directories(prefix_ / "www");
        std::string why;
        for (int attempt = 0; attempt < 10 && pid_ <= 0; ++attempt)
            why = Start(nginx, FreePort());
        ASSERT_GT(pid_, 0) << "nginx did not start: " << why;
    }

    // Starts nginx on port; "" when it serves there, otherwise why not.
    std::string Start(const std::string& nginx, int port)
    {
        std::string const p = prefix_.string();
        kftest::WriteFile(prefix_ / "nginx.conf",
                          "daemon off;\nmaster_process off;\nworker_processes 1;\n"
                          "pid " +
                              p + "/nginx.pid;\nerror_log " + p +
                              "/error.log;\n"
                              "events { worker_connections 32; }\n"
                              "http {\n  access_log off;\n"
                              "  client_body_temp_path " +
                              p + "/tmp/body;\n  proxy_temp_path " + p +
                              "/tmp/proxy;\n"
                              "  fastcgi_temp_path " +
                              p + "/tmp/fastcgi;\n  uwsgi_temp_path " + p +
                              "/tmp/uwsgi;\n"
                              "  scgi_temp_path " +
                              p +
                              "/tmp/scgi;\n"
                              "  types { text/plain txt; }\n"
                              "  server {\n    listen 127.0.0.1:" +
                              std::to_string(port) +
                              ";\n"
                              "    root " +
                              p +
                              "/www;\n"
                              "    location = /old/versions16.txt { return 302 /update_plugins/versions16.txt; }\n"
                              "  }\n}\n");
        std::string const errors = p + "/startup.log";
        std::string const conf = p + "/nginx.conf";
        std::filesystem::remove(prefix_ / "nginx.pid");
        const char* argv[] = {nginx.c_str(), "-e", errors.c_str(), "-p", p.c_str(), "-c", conf.c_str(), nullptr};
        pid_t pid = 0;
        if (::posix_spawn(&pid, nginx.c_str(), nullptr, nullptr, const_cast<char**>(argv), environ) != 0)
            return "cannot run " + nginx;
        // nginx writes its pid file once its port is bound and listening; it ends when it cannot bind.
        bool ended = false;
        const bool serving = kftest::WaitUntil([&] {
            int status = 0;
            ended = ::waitpid(pid, &status, WNOHANG) == pid;
            return ended || (std::filesystem::exists(prefix_ / "nginx.pid") && Accepts(port));
        });
        if (serving && !ended) {
            pid_ = pid;
            port_ = port;
            return {};
        }
        if (!ended) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
        return "port " + std::to_string(port) + ": " + kftest::ReadFile(prefix_ / "error.log") +
               kftest::ReadFile(errors);
    }

    void TearDown() override
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            int status = 0;
            ::waitpid(pid_, &status, 0);
        }
    }

    std::string NginxUrl(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }

    std::filesystem::path prefix_;
    int port_ = 0;
    pid_t pid_ = 0;
};

std::string VersionsFile()
{
    std::string text = "OBT 1.2.1.0 (HV170) 02/09/2013 ita int\n";
    while (text.size() < 40000)
        text += "# A long release note that makes the file span several blocks.\n";
    return text;
}

} // namespace

TEST_F(NginxDownload, FetchesAFileDirectlyAndThroughItsRedirect)
{
    kftest::WriteFile(prefix_ / "www/update_plugins/versions16.txt", VersionsFile());
    for (const char* path : {"/update_plugins/versions16.txt", "/old/versions16.txt"}) {
        SCOPED_TRACE(path);
        Recorder& r = NewRecorder();
        ASSERT_TRUE(Fetch(NginxUrl(path), r));
        EXPECT_EQ(r.Story(), "Opened Data Done");
        EXPECT_EQ(kftest::ReadFile(r.target), VersionsFile());
    }
}
