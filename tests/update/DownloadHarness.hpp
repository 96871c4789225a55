// What the downloader tests share: an in-process host whose run loop drives the downloads, a
// loopback update server with test routes, and a recorder of the callback's events.
#pragma once

#include "KF/KF_General.hpp"
#include "RawServer.hpp"
#include "UpdateServer.hpp"
#include "kftest/InProcessHost.hpp"
#include "kftest/Scoped.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace kftest {

struct Event {
    KF_URL_Message message;
    double progress;
};

// Records every event; answers openedAnswer to KF_URL_Opened.
struct Recorder {
    std::vector<Event> events;
    int openedAnswer = 0;
    std::filesystem::path target;
    bool targetExistedAtOpening = false;

    static int CallBack(KF_URL_Message message, double progress, void* userData);
    bool Ended() const;
    // The messages alone, Data runs collapsed to one entry: "Opened Data Done".
    std::string Story() const;
    long Count(KF_URL_Message message) const;
};

// The entries of target's folder whose names begin with target's: the target and what was made
// beside it.
std::size_t EntriesFor(const std::filesystem::path& target);

// The loopback update server with its test routes, serving root; throws when it cannot start.
std::unique_ptr<kfupd::UpdateServer> StartLoopbackServer(const std::filesystem::path& root);

class DownloadTest : public ::testing::Test {
protected:
    // limitSeconds: the host's "download-limit"; 0: the product's (60 s). Only a test that waits
    // the limit out sets it short: a short limit would fail downloads on a slow machine. The host
    // names the loopback server as its update server and has the resources of resourceFolder.
    explicit DownloadTest(double limitSeconds = 0, const std::filesystem::path& resourceFolder = {});
    ~DownloadTest() override;

    std::filesystem::path ServedFile(const std::string& relative, const std::string& content);
    std::filesystem::path Target(const std::string& name = "download.bin") const;
    std::string Url(const std::string& path) const { return server_->BaseUrl() + path; }

    // Recorders live as long as the fixture, so that a download a failing test leaves running
    // never calls into a recorder that is gone.
    Recorder& NewRecorder(int openedAnswer = 0);
    // Starts a download with the recorder, bounded to maxBytes unless 0; false when it did not start.
    bool Start(const std::string& url, Recorder& recorder, const std::string& targetName = "download.bin",
               unsigned long long maxBytes = 0);
    // Starts a download and runs the loop until it ends; whether it both started and ended.
    bool Fetch(const std::string& url, Recorder& recorder, const std::string& targetName = "download.bin",
               unsigned long long maxBytes = 0)
    {
        return Start(url, recorder, targetName, maxBytes) && RunUntil([&] { return recorder.Ended(); });
    }
    bool RunUntil(const std::function<bool()>& pred, double patience = kPatienceSeconds)
    {
        return host_->RunUntil(pred, patience);
    }

    std::unique_ptr<kftest::InProcessHost> host_;
    kftest::TempFolder served_;
    std::unique_ptr<kfupd::UpdateServer> server_;
    std::list<Recorder> recorders_;
};

} // namespace kftest
