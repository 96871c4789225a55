// KF_General::URLDownload: one HTTP document into a local file, asynchronously on the host's
// main run loop. The client hears of it through its callback: opened, data, then done or failed.
#include "KF_FileDetail.hpp"
#include "KF/KF_File.hpp"
#include "KF/KF_General.hpp"
#include "KF_CurlRunLoop.hpp"
#include "KF_URLEscape.hpp"

#include "kfsdk/HostServices.hpp"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

// A limit on the whole transfer, set once at the start and never pushed back while data flows.
constexpr double kDownloadLimitSeconds = 60.0;
// Data is moved in blocks of at most this size, straight into the file.
constexpr std::size_t kBlockSize = 16384;
// libcurl may hand over several blocks at a time; each is still written and reported on its own.
constexpr std::size_t kReceiveSize = 4 * kBlockSize;

struct URLDownloadParams : kf::detail::KF_CurlTransfer {
    KF_URL_CallBack callback = nullptr;
    void* userData = nullptr;
    std::string url;
    KF_String targetPath;
    KF_File* file = nullptr;         // created once the connection is open, beside the target
    KF_Location partPath;            // that file, moved over the target when the document is complete
    unsigned long long maxBytes = 0; // 0: no limit
    unsigned long long receivedBytes = 0;
    std::int32_t state = 0; // 0 opened, 50 receiving, 101 done, -1 failed: for inspection only

    bool connected = false;  // libcurl has a connection and is about to send the request
    bool openedSent = false; // KF_URL_Opened has been delivered
    bool paused = false;     // data held back by libcurl until the file exists
    long pendingBlocks = 0;  // blocks written whose KF_URL_Data is still to come
    bool inCallback = false; // the client runs; a nested loop must not re-enter it
    // Of the last response head: a Content-Length that is no number, or two that differ.
    bool lengthLies = false;
    std::string length;
};

// The host may shorten the limit (tests do); the product keeps 60 seconds.
double DownloadLimit()
{
    const double seconds = HostServices::DownloadTimeLimit();
    return seconds > 0.0 ? seconds : kDownloadLimitSeconds;
}

int Send(URLDownloadParams* params, KF_URL_Message message, double progress)
{
    if (params->callback == nullptr)
        return 0;
    params->inCallback = true;
    const int answer = params->callback(message, progress, params->userData);
    params->inCallback = false;
    return answer;
}

// False when the close fails: it may be where the system reports that bytes did not reach the disk.
bool CloseFile(URLDownloadParams* params)
{
    if (params->file != nullptr && params->file->file != nullptr && params->file->file->IsOpen())
        return params->file->file->Close() == NoError;
    return true;
}

// Only the file this download created goes; the target is never touched by a failure.
void RemovePart(URLDownloadParams* params)
{
    CloseFile(params);
    if (!params->partPath.path.IsNullOrEmpty())
        KF_File::Delete(params->partPath);
    params->partPath = KF_Location();
}

// The state block goes with its transfer: no callback can follow.
void TerminateDownload(URLDownloadParams* params)
{
    kf::detail::KF_CurlLoop_Remove(params);
    RemovePart(params);
    curl_easy_cleanup(params->easy);
    delete params->file;
    delete params;
}

void Discard(kf::detail::KF_CurlTransfer* transfer)
{
    auto* params = static_cast<URLDownloadParams*>(transfer);
    RemovePart(params);
    curl_easy_cleanup(params->easy);
    delete params->file;
    delete params;
}

// The complete document takes the target's place in one step (a symlink there is replaced, not
// followed).
bool MoveIntoPlace(URLDownloadParams* params)
{
    if (!CloseFile(params))
        return false;
    if (IO::FileSystem::MoveOver(static_cast<IO::Location>(params->partPath),
                                 static_cast<IO::Location>(KF_Location(params->targetPath))) != NoError)
        return false;
    params->partPath = KF_Location();
    return true;
}

void Finish(URLDownloadParams* params, KF_URL_Message message, std::int32_t state)
{
    if (message == KF_URL_Done && !MoveIntoPlace(params)) {
        message = KF_URL_Failed;
        state = -1;
    }
    if (message == KF_URL_Failed)
        RemovePart(params);
    CloseFile(params);
    Send(params, message, 0.0);
    params->state = state;
    TerminateDownload(params);
}

// After the client has let the download go on: the file, then the data held back.
bool CreateTarget(URLDownloadParams* params)
{
    params->file = new KF_File;
    if (kf::detail::KF_File_CreateBeside(KF_Location(params->targetPath), *params->file, params->partPath) != 0)
        return false;
    if (params->paused) {
        params->paused = false;
        curl_easy_pause(params->easy, CURLPAUSE_CONT);
    }
    return true;
}

// The final answer is a whole document: a status of 200 to 299 other than "no content" (204, 205)
// and "part of a document" (206, never asked for), with an announced length that is one number.
// libcurl takes a malformed length for what it can read of it, and ends a response that has no
// document (101, 204, 304, a redirection without a place) as a success.
bool IsDocument(URLDownloadParams* params)
{
    long status = 0;
    if (curl_easy_getinfo(params->easy, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK)
        return false;
    return status >= 200 && status <= 299 && status != 204 && status != 205 && status != 206 && !params->lengthLies;
}

void Pump(kf::detail::KF_CurlTransfer* transfer)
{
    auto* params = static_cast<URLDownloadParams*>(transfer);
    if (params->inCallback)
        return; // the pump that called the client goes on when it returns

    if (params->connected && !params->openedSent) {
        params->openedSent = true;
        params->state = 0;
        if (Send(params, KF_URL_Opened, 0.0) == 1) {
            TerminateDownload(params); // cancelled: no file, no further message
            return;
        }
        if (!CreateTarget(params)) {
            Finish(params, KF_URL_Failed, -1);
            return;
        }
    }
    while (params->pendingBlocks > 0) {
        --params->pendingBlocks;
        params->state = 50;
        Send(params, KF_URL_Data, 0.5);
    }
    if (params->finished && !params->inCallback) {
        if (params->result == CURLE_OK && IsDocument(params))
            Finish(params, KF_URL_Done, 101);
        else
            Finish(params, KF_URL_Failed, -1);
    }
}

int Connected(void* userData, char*, char*, int, int)
{
    static_cast<URLDownloadParams*>(userData)->connected = true;
    return CURL_PREREQFUNC_OK;
}

std::size_t Received(char* data, std::size_t size, std::size_t count, void* userData)
{
    auto* params = static_cast<URLDownloadParams*>(userData);
    // Nothing is written before the client has heard of the opening and the file exists.
    if (params->file == nullptr) {
        params->paused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    std::size_t const total = size * count;
    // Decoded bytes are counted, so that a small compressed body cannot grow without bound.
    params->receivedBytes += total;
    if (params->maxBytes != 0 && params->receivedBytes > params->maxBytes)
        return 0; // libcurl ends the transfer with a write error
    for (std::size_t done = 0; done < total; done += kBlockSize) {
        std::size_t const block = total - done < kBlockSize ? total - done : kBlockSize;
        // A document with a hole is no document: a refused write ends the download as failed.
        UInt64 written = 0;
        if (params->file->file == nullptr || params->file->file->WriteBin(data + done, block, &written) != NoError ||
            written != block)
            return 0;
        ++params->pendingBlocks;
    }
    return total;
}

// Proxies come from the environment as for any command-line tool (http_proxy, https_proxy,
// all_proxy, no_proxy); libcurl reads them. A loopback server is on this machine, so it is reached
// directly unless no_proxy is set: then that list alone decides.
const char* LoopbackBypass()
{
    if (std::getenv("no_proxy") != nullptr || std::getenv("NO_PROXY") != nullptr)
        return nullptr;
    return "localhost,127.0.0.0/8,::1";
}

// Each line of each response head (interim and redirecting ones too): notes whether the last one
// announces its length truthfully.
std::size_t HeaderLine(char* data, std::size_t size, std::size_t count, void* userData)
{
    auto* params = static_cast<URLDownloadParams*>(userData);
    const std::string_view line(data, size * count);
    if (line.substr(0, 5) == "HTTP/") {
        params->lengthLies = false;
        params->length.clear();
        return line.size();
    }
    constexpr std::string_view kName = "content-length:";
    if (line.size() < kName.size() || !std::equal(kName.begin(), kName.end(), line.begin(), [](char a, char b) {
            return a == (b >= 'A' && b <= 'Z' ? char(b - 'A' + 'a') : b);
        }))
        return line.size();
    std::string_view value = line.substr(kName.size());
    while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
        value.remove_prefix(1);
    while (!value.empty() &&
           (value.back() == ' ' || value.back() == '\t' || value.back() == '\r' || value.back() == '\n'))
        value.remove_suffix(1);
    const bool number = !value.empty() && value.size() <= 18 &&
                        std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!number || (!params->length.empty() && params->length != value))
        params->lengthLies = true;
    params->length = value;
    return line.size();
}

CURL* MakeRequest(URLDownloadParams* params)
{
    CURL* easy = curl_easy_init();
    if (easy == nullptr)
        return nullptr;
    const auto limit = static_cast<long>(DownloadLimit() * 1000.0);
    const bool ok = curl_easy_setopt(easy, CURLOPT_URL, params->url.c_str()) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https") == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1)) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 20L) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "") == CURLE_OK &&
                    // An error page is not the document: 400 and above fail.
                    curl_easy_setopt(easy, CURLOPT_FAILONERROR, 1L) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, curl_off_t(params->maxBytes)) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, limit > 0 ? limit : 1L) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, long(kReceiveSize)) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, Connected) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_PREREQDATA, params) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, Received) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_WRITEDATA, params) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, HeaderLine) == CURLE_OK &&
                    curl_easy_setopt(easy, CURLOPT_HEADERDATA, params) == CURLE_OK;
    const char* bypass = LoopbackBypass();
    if (!ok || (bypass != nullptr && curl_easy_setopt(easy, CURLOPT_NOPROXY, bypass) != CURLE_OK)) {
        curl_easy_cleanup(easy);
        return nullptr;
    }
    return easy;
}

} // namespace

bool KF_General::URLDownload(const KF_String& url, const KF_Location& target, KF_URL_CallBack callback, void* userData)
{
    return URLDownload(url, target, callback, userData, 0);
}

bool KF_General::URLDownload(const KF_String& url, const KF_Location& target, KF_URL_CallBack callback, void* userData,
                             unsigned long long maxBytes)
{
    if (url.IsNullOrEmpty())
        return false;
    std::string request;
    if (!kf::detail::KF_URL_Normalise(url, request))
        return false;

    auto* params = new URLDownloadParams;
    params->callback = callback;
    params->userData = userData;
    params->url = std::move(request);
    params->targetPath = target.path;
    params->maxBytes = maxBytes;
    params->pump = Pump;
    params->discard = Discard;
    params->easy = MakeRequest(params);
    if (params->easy == nullptr || !kf::detail::KF_CurlLoop_Add(params)) {
        if (params->easy != nullptr)
            curl_easy_cleanup(params->easy);
        delete params;
        return false;
    }
    return true;
}
