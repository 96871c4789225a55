// Plain file serving, streamed in blocks so that large files never sit whole in memory.
#include "UpdateServer.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <system_error>

namespace kfupd {
namespace {

constexpr std::size_t kBlock = 64 * 1024;

struct FileDescriptor {
    explicit FileDescriptor(int f) : fd(f) {}
    ~FileDescriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int fd;
};

std::string ContentType(const std::filesystem::path& path)
{
    const std::string ext = path.extension().string();
    if (ext == ".txt")
        return "text/plain; charset=utf-8";
    if (ext == ".htm" || ext == ".html")
        return "text/html; charset=utf-8";
    return "application/octet-stream";
}

// The file under root that a request path names, or empty when it leaves root or is missing.
std::filesystem::path Resolve(const std::filesystem::path& root, const std::string& requestPath)
{
    std::filesystem::path relative = std::filesystem::path(requestPath).relative_path();
    for (const auto& part : relative)
        if (part == "..")
            return {};
    std::filesystem::path full = root / relative;
    std::error_code ec;
    if (std::filesystem::is_directory(full, ec)) {
        for (const char* index : {"index.htm", "index.html"})
            if (std::filesystem::is_regular_file(full / index, ec))
                return full / index;
        return {};
    }
    if (!std::filesystem::is_regular_file(full, ec))
        return {};
    return full;
}

void NotFound(httplib::Response& response)
{
    response.status = 404;
    response.set_content("<html><head><title>404 Not Found</title></head>"
                         "<body><h1>Not Found</h1></body></html>\n",
                         "text/html");
}

} // namespace

void AddFileRoutes(httplib::Server& server, const std::filesystem::path& root)
{
    server.Get(R"(/.*)", [root](const httplib::Request& request, httplib::Response& response) {
        const std::filesystem::path path = Resolve(root, request.path);
        if (path.empty())
            return NotFound(response);
        auto file = std::make_shared<FileDescriptor>(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        std::error_code ec;
        const auto size = std::filesystem::file_size(path, ec);
        if (file->fd < 0 || ec)
            return NotFound(response);
        response.set_content_provider(static_cast<std::size_t>(size), ContentType(path),
                                      [file](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                          char buffer[kBlock];
                                          const std::size_t want = length < kBlock ? length : kBlock;
                                          const ssize_t got =
                                              ::pread(file->fd, buffer, want, static_cast<off_t>(offset));
                                          if (got <= 0)
                                              return false;
                                          return sink.write(buffer, static_cast<std::size_t>(got));
                                      });
    });
}

} // namespace kfupd
