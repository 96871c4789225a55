// Downloading 100 MiB from the loopback update server: the framework's downloader on the host's
// run loop beside the curl command-line tool fetching the same file from the same server.
#include "KF/KF_General.hpp"
#include "UpdateServer.hpp"
#include "kftest/InProcessHost.hpp"

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>

extern char** environ;

namespace {

constexpr std::size_t kFileSize = std::size_t(100) << 20;
constexpr char kCurl[] = "/usr/bin/curl";

// One server and one host for the whole run.
struct Stage {
    kftest::TempFolder served;
    std::unique_ptr<kfupd::UpdateServer> server;
    std::unique_ptr<kftest::InProcessHost> host;

    Stage()
    {
        {
            std::ofstream out(served.Path() / "big.bin", std::ios::binary);
            std::string block(1 << 20, '\0');
            for (std::size_t i = 0; i < block.size(); ++i)
                block[i] = static_cast<char>(i * 2654435761u >> 24);
            for (std::size_t written = 0; written < kFileSize; written += block.size())
                out.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
        kfupd::ServerOptions options;
        options.root = served.Path();
        server = std::make_unique<kfupd::UpdateServer>(options);
        server->Start();
        host = std::make_unique<kftest::InProcessHost>();
        host->Attach();
    }
    std::string Url() const { return server->BaseUrl() + "/big.bin"; }
    std::filesystem::path Target(const char* name) const { return host->TempDir() / name; }
};

Stage& TheStage()
{
    static Stage stage;
    return stage;
}

int Ended(KF_URL_Message message, double, void* userData)
{
    if (message == KF_URL_Done || message == KF_URL_Failed)
        *static_cast<int*>(userData) = message == KF_URL_Done ? 1 : -1;
    return 0;
}

void BM_URLDownload_100MiB(benchmark::State& state)
{
    Stage& stage = TheStage();
    std::filesystem::path const target = stage.Target("framework.bin");
    for (auto _ : state) {
        int ended = 0;
        if (!KF_General::URLDownload(KF_String(stage.Url().c_str()), KF_Location(KF_String(target.c_str())), Ended,
                                     &ended)) {
            state.SkipWithError("the download did not start");
            return;
        }
        while (ended == 0)
            stage.host->RunLoop(1.0);
        if (ended < 0 || std::filesystem::file_size(target) != kFileSize) {
            state.SkipWithError("the download failed");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kFileSize));
}

void BM_CurlCommandLine_100MiB(benchmark::State& state)
{
    if (::access(kCurl, X_OK) != 0) {
        state.SkipWithError("/usr/bin/curl is missing");
        return;
    }
    Stage& stage = TheStage();
    std::string const target = stage.Target("curl.bin").string();
    std::string const url = stage.Url();
    for (auto _ : state) {
        const char* argv[] = {kCurl, "-s", "-o", target.c_str(), url.c_str(), nullptr};
        pid_t pid = 0;
        int status = 0;
        if (::posix_spawn(&pid, kCurl, nullptr, nullptr, const_cast<char**>(argv), environ) != 0 ||
            ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("curl failed");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kFileSize));
}

} // namespace

BENCHMARK(BM_URLDownload_100MiB)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);
BENCHMARK(BM_CurlCommandLine_100MiB)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);
