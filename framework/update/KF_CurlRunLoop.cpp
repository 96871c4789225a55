// The one place where libcurl meets the host's main run loop.
#include "KF_CurlRunLoop.hpp"

#include "MainLoop.hpp"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kf::detail {
namespace {

struct Loop {
    CURLM* multi = nullptr;
    MainLoop::TimerID timer = 0;
    bool timerRefused = false;
    std::unordered_map<curl_socket_t, MainLoop::WatchID> watches;
    std::vector<std::pair<std::uint64_t, KF_CurlTransfer*>> transfers;
    std::uint64_t nextSerial = 1;

    // At unload: nothing of this library may be called by the run loop afterwards.
    ~Loop()
    {
        auto running = std::move(transfers);
        transfers.clear();
        for (const auto& [serial, transfer] : running) {
            if (multi != nullptr)
                curl_multi_remove_handle(multi, transfer->easy);
            if (transfer->discard != nullptr)
                transfer->discard(transfer);
        }
        Release();
    }
    // With no transfer left the multi handle goes, idle connections with it, so that nothing of
    // ours stays on the host's loop between downloads.
    void Release()
    {
        if (multi != nullptr)
            curl_multi_cleanup(multi);
        multi = nullptr;
        if (timer != 0)
            MainLoop::RemoveTimer(timer);
        timer = 0;
        for (const auto& [fd, watch] : watches)
            MainLoop::RemoveWatch(watch);
        watches.clear();
    }
};

Loop sLoop;

KF_CurlTransfer* Find(std::uint64_t serial)
{
    for (const auto& [s, transfer] : sLoop.transfers)
        if (s == serial)
            return transfer;
    return nullptr;
}

// Finished transfers are marked here; their owners learn of it in their pump.
void Harvest()
{
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(sLoop.multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        KF_CurlTransfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        if (transfer != nullptr) {
            transfer->finished = true;
            transfer->result = message->data.result;
        }
    }
}

void PumpAll()
{
    std::vector<std::uint64_t> serials;
    serials.reserve(sLoop.transfers.size());
    for (const auto& [serial, transfer] : sLoop.transfers)
        serials.push_back(serial);
    // A pump may end its own transfer or, through a nested loop, others: look each one up again.
    for (std::uint64_t serial : serials)
        if (KF_CurlTransfer* transfer = Find(serial); transfer != nullptr && transfer->pump != nullptr)
            transfer->pump(transfer);
}

void Act(curl_socket_t socket, int flags)
{
    if (sLoop.multi == nullptr)
        return;
    int running = 0;
    curl_multi_socket_action(sLoop.multi, socket, flags, &running);
    Harvest();
    PumpAll();
}

void WatchFired(MainLoop::WatchID, int fd, UInt32 ready, void*)
{
    int flags = 0;
    if ((ready & MainLoop::Readable) != 0)
        flags |= CURL_CSELECT_IN;
    if ((ready & MainLoop::Writable) != 0)
        flags |= CURL_CSELECT_OUT;
    Act(fd, flags != 0 ? flags : CURL_CSELECT_ERR);
}

void TimerFired(MainLoop::TimerID, void*)
{
    sLoop.timer = 0;
    Act(CURL_SOCKET_TIMEOUT, 0);
}

int SocketChanged(CURL*, curl_socket_t socket, int what, void*, void*)
{
    if (what == CURL_POLL_REMOVE) {
        if (auto it = sLoop.watches.find(socket); it != sLoop.watches.end()) {
            MainLoop::RemoveWatch(it->second);
            sLoop.watches.erase(it);
        }
        return 0;
    }
    UInt32 events = 0;
    if (what == CURL_POLL_IN || what == CURL_POLL_INOUT)
        events |= MainLoop::Readable;
    if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT)
        events |= MainLoop::Writable;
    // Re-adding a descriptor replaces its watch.
    sLoop.watches[socket] = MainLoop::AddWatch(socket, events, WatchFired, nullptr);
    return 0;
}

// libcurl's single timer; 0 ms means "as soon as possible", which must not be done from here.
int TimerChanged(CURLM*, long milliseconds, void*)
{
    if (sLoop.timer != 0)
        MainLoop::RemoveTimer(sLoop.timer);
    sLoop.timer = 0;
    if (milliseconds < 0)
        return 0;
    sLoop.timer = MainLoop::AddTimer(static_cast<double>(milliseconds) / 1000.0, TimerFired, nullptr);
    if (sLoop.timer == 0) {
        sLoop.timerRefused = true;
        return -1;
    }
    return 0;
}

bool EnsureMulti()
{
    if (sLoop.multi != nullptr)
        return true;
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return false;
    sLoop.multi = curl_multi_init();
    if (sLoop.multi == nullptr)
        return false;
    curl_multi_setopt(sLoop.multi, CURLMOPT_SOCKETFUNCTION, SocketChanged);
    curl_multi_setopt(sLoop.multi, CURLMOPT_TIMERFUNCTION, TimerChanged);
    return true;
}

} // namespace

bool KF_CurlLoop_Add(KF_CurlTransfer* transfer)
{
    if (transfer == nullptr || transfer->easy == nullptr || !EnsureMulti())
        return false;
    curl_easy_setopt(transfer->easy, CURLOPT_PRIVATE, transfer);
    transfer->finished = false;
    transfer->serial = sLoop.nextSerial++;
    sLoop.timerRefused = false;
    const bool added = curl_multi_add_handle(sLoop.multi, transfer->easy) == CURLM_OK;
    // A host without a run loop cannot drive the transfer.
    if (!added || sLoop.timerRefused) {
        if (added)
            curl_multi_remove_handle(sLoop.multi, transfer->easy);
        if (sLoop.transfers.empty())
            sLoop.Release();
        return false;
    }
    sLoop.transfers.emplace_back(transfer->serial, transfer);
    return true;
}

void KF_CurlLoop_Remove(KF_CurlTransfer* transfer)
{
    const auto it = std::find_if(sLoop.transfers.begin(), sLoop.transfers.end(),
                                 [transfer](const auto& entry) { return entry.second == transfer; });
    if (it == sLoop.transfers.end())
        return;
    sLoop.transfers.erase(it);
    if (sLoop.multi != nullptr)
        curl_multi_remove_handle(sLoop.multi, transfer->easy);
    if (sLoop.transfers.empty())
        sLoop.Release();
}

} // namespace kf::detail
