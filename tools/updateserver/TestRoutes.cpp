// Misbehaving routes for tests of the downloader and the update check: every way a server can
// let a client down short of a reset (tests make that one with a raw socket).
#include "UpdateServer.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

namespace kfupd {
namespace {

std::size_t ParamOr(const httplib::Request& request, const char* key, std::size_t fallback)
{
    if (!request.has_param(key))
        return fallback;
    try {
        return static_cast<std::size_t>(std::stoull(request.get_param_value(key)));
    } catch (const std::exception&) {
        return fallback;
    }
}

// A deterministic byte pattern, so that a test can check any block it received.
char PatternByte(std::size_t offset)
{
    return static_cast<char>('a' + offset % 23);
}

} // namespace

void AddTestRoutes(httplib::Server& server, const std::filesystem::path& root, const StopSignal& stop)
{
    // /test/redirect/N?to=PATH: N hops, then PATH (default: the versions file).
    server.Get(R"(/test/redirect/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        const unsigned long hops = std::stoul(request.matches[1]);
        const std::string to =
            request.has_param("to") ? request.get_param_value("to") : "/update_plugins/versions16.txt";
        if (hops == 0)
            response.set_redirect(to, 302);
        else
            response.set_redirect("/test/redirect/" + std::to_string(hops - 1) + "?to=" + to, 301);
    });

    // /test/status/N: an HTML error page with that status.
    server.Get(R"(/test/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        response.status = std::stoi(request.matches[1]);
        response.set_content("<html>\n<head><title>Error " + std::string(request.matches[1]) +
                                 "</title></head>\n<body>\n<h1>Something went wrong</h1>\n"
                                 "<p>The page 01/01/2012 (HV170) is not here.</p>\n</body>\n</html>\n",
                             "text/html");
    });

    // /test/bytes/N: N bytes of a fixed pattern with a length header.
    server.Get(R"(/test/bytes/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        const std::size_t total = std::stoull(request.matches[1]);
        response.set_content_provider(total, "application/octet-stream",
                                      [](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                          std::string block(std::min<std::size_t>(length, 64 * 1024), '\0');
                                          for (std::size_t i = 0; i < block.size(); ++i)
                                              block[i] = PatternByte(offset + i);
                                          return sink.write(block.data(), block.size());
                                      });
    });

    // /test/trickle?bytes=N&interval_ms=M: one byte every M ms, without a length (chunked).
    server.Get("/test/trickle", [&stop](const httplib::Request& request, httplib::Response& response) {
        const std::size_t total = ParamOr(request, "bytes", 1000);
        const auto interval = std::chrono::milliseconds(ParamOr(request, "interval_ms", 100));
        auto sent = std::make_shared<std::size_t>(0);
        response.set_chunked_content_provider("application/octet-stream",
                                              [&stop, total, interval, sent](std::size_t, httplib::DataSink& sink) {
                                                  if (*sent >= total) {
                                                      sink.done();
                                                      return true;
                                                  }
                                                  if (stop.WaitFor(interval))
                                                      return false;
                                                  const char byte = PatternByte(*sent);
                                                  ++*sent;
                                                  return sink.write(&byte, 1);
                                              });
    });

    // /test/slow/PATH?chunk=N&interval_ms=M: the file PATH of the root, N bytes every M ms
    // (16 and 30), so that a client can be caught in the middle of a download.
    server.Get(R"(/test/slow/(.+))", [root, &stop](const httplib::Request& request, httplib::Response& response) {
        std::filesystem::path const relative =
            std::filesystem::path(std::string(request.matches[1])).lexically_normal();
        std::ifstream in(root / relative, std::ios::binary);
        if (relative.empty() || *relative.begin() == ".." || !in) {
            response.status = 404;
            return;
        }
        auto body = std::make_shared<std::string>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        const std::size_t chunk = std::max<std::size_t>(1, ParamOr(request, "chunk", 16));
        const auto interval = std::chrono::milliseconds(ParamOr(request, "interval_ms", 30));
        response.set_chunked_content_provider(
            "text/plain", [&stop, body, chunk, interval](std::size_t offset, httplib::DataSink& sink) {
                if (offset >= body->size()) {
                    sink.done();
                    return true;
                }
                if (stop.WaitFor(interval))
                    return false;
                return sink.write(body->data() + offset, std::min(chunk, body->size() - offset));
            });
    });

    // /test/hang[/...]: reads the request and never answers.
    server.Get(R"(/test/hang(/.*)?)", [&stop](const httplib::Request&, httplib::Response& response) {
        while (!stop.WaitFor(std::chrono::milliseconds(200))) {
        }
        response.status = 503;
    });
}

} // namespace kfupd
