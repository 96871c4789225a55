// libcurl's multi interface driven by the host's main run loop: its sockets become run-loop
// watches and its one timer a run-loop timer, so transfers progress between host events on the
// main thread, without threads of their own.
#pragma once

#include <curl/curl.h>

#include <cstdint>

namespace kf::detail {

struct KF_CurlTransfer {
    CURL* easy = nullptr;
    // Called after every round of libcurl work, never from inside libcurl, so that it may call
    // clients that do anything (even run a nested loop).
    void (*pump)(KF_CurlTransfer* transfer) = nullptr;
    // Called at unload for a transfer still running: free it without any callback.
    void (*discard)(KF_CurlTransfer* transfer) = nullptr;
    bool finished = false; // libcurl is done with it; result tells how
    CURLcode result = CURLE_OK;
    std::uint64_t serial = 0; // set by the loop
};

// False when libcurl or the host's run loop refuses; nothing is then ever called.
bool KF_CurlLoop_Add(KF_CurlTransfer* transfer);
// Never from inside a libcurl callback.
void KF_CurlLoop_Remove(KF_CurlTransfer* transfer);

} // namespace kf::detail
