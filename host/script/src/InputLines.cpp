#include "kfhost/script/InputLines.hpp"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kfhost {
namespace {

// A rebuild writes the library in several steps (the linker, then a copy into the bundle): the
// reload waits until the files have been quiet this long.
constexpr auto kSettle = std::chrono::milliseconds(250);

} // namespace

InputLines::InputLines(int fd, std::string source)
    : fd_(fd), source_(std::move(source)), interactive_(::isatty(fd) == 1)
{}

InputLines::~InputLines()
{
    if (notify_ >= 0)
        ::close(notify_);
}

bool InputLines::Watch(const std::vector<std::filesystem::path>& files, std::string* why)
{
    if (notify_ < 0 && (notify_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) < 0) {
        *why = std::string("cannot watch files: ") + std::strerror(errno);
        return false;
    }
    for (const auto& file : files) {
        // The folder, not the file: a linker replaces the file, which ends a watch on it.
        const std::filesystem::path folder = file.parent_path().empty() ? "." : file.parent_path();
        const int watch = ::inotify_add_watch(notify_, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
        if (watch < 0) {
            *why = "cannot watch " + folder.string() + ": " + std::strerror(errno);
            return false;
        }
        watched_[watch].insert(file.filename().string());
    }
    return true;
}

std::optional<ScriptLine> InputLines::TakeLine()
{
    const std::size_t end = buffer_.find('\n');
    if (end == std::string::npos && !(ended_ && !buffer_.empty()))
        return std::nullopt;
    ScriptLine line{source_, ++lines_, buffer_.substr(0, end)};
    buffer_.erase(0, end == std::string::npos ? buffer_.size() : end + 1);
    return line;
}

std::optional<ScriptLine> InputLines::Next()
{
    for (;;) {
        if (reloadDue_ && (!reloadAllowed_ || reloadAllowed_())) {
            reloadDue_ = false;
            return ScriptLine{"watch", ++reloads_, "reload"};
        }
        if (auto line = TakeLine())
            return line;
        if (ended_)
            return std::nullopt;
        Wait();
    }
}

void InputLines::Wait()
{
    pollfd fds[2] = {{fd_, POLLIN, 0}, {notify_, POLLIN, 0}};
    int timeout = -1;
    if (changed_) {
        const auto left = kSettle - (std::chrono::steady_clock::now() - *changed_);
        timeout = int(std::max<std::int64_t>(0, std::chrono::ceil<std::chrono::milliseconds>(left).count()));
    }
    const int ready = ::poll(fds, notify_ >= 0 ? 2 : 1, timeout);
    if (ready < 0 && errno != EINTR) {
        ended_ = true;
        return;
    }
    if (ready > 0 && (fds[1].revents & POLLIN))
        ReadChanges();
    if (changed_ && std::chrono::steady_clock::now() - *changed_ >= kSettle) {
        changed_.reset();
        reloadDue_ = true;
    }
    if (ready > 0 && (fds[0].revents & (POLLIN | POLLHUP | POLLERR))) {
        char chunk[4096];
        const ssize_t n = ::read(fd_, chunk, sizeof chunk);
        if (n > 0)
            buffer_.append(chunk, std::size_t(n));
        else if (n == 0 || (errno != EINTR && errno != EAGAIN))
            ended_ = true;
    }
}

void InputLines::ReadChanges()
{
    alignas(inotify_event) char events[4096];
    for (;;) {
        const ssize_t n = ::read(notify_, events, sizeof events);
        if (n <= 0)
            return;
        for (ssize_t at = 0; at < n;) {
            const auto* event = reinterpret_cast<const inotify_event*>(events + at);
            at += ssize_t(sizeof(inotify_event) + event->len);
            const auto folder = watched_.find(event->wd);
            if (event->len > 0 && folder != watched_.end() && folder->second.count(event->name))
                changed_ = std::chrono::steady_clock::now();
        }
    }
}

} // namespace kfhost
