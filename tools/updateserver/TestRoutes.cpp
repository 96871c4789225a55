// Misbehaving routes for tests of the downloader: every way a server can let a client down
// short of a reset (tests make that one with a raw socket).
#include "UpdateServer.hpp"

#include <algorithm>
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
char PatternByte(std::size_t offset) { return static_cast<char>('a' + offset % 23); }

} // namespace

void AddTestRoutes(httplib::Server& server, const StopSignal& stop)
{
    // /test/redirect/N?to=PATH: N hops, then PATH (default: the versions file).
    server.Get(R"(/test/redirect/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
        const unsigned long hops = std::stoul(request.matches[1]);
        const std::string to = request.has_param("to") ? request.get_param_value("to")
                                                       : "/update_plugins/versions16.txt";
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
                                 "<p>MESSAGE 01/01/2012 is not a message here.</p>\n</body>\n</html>\n",
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
        response.set_chunked_content_provider(
            "application/octet-stream", [&stop, total, interval, sent](std::size_t, httplib::DataSink& sink) {
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

    // /test/hang: reads the request and never answers.
    server.Get("/test/hang", [&stop](const httplib::Request&, httplib::Response& response) {
        while (!stop.WaitFor(std::chrono::milliseconds(200))) {
        }
        response.status = 503;
    });
}

} // namespace kfupd
