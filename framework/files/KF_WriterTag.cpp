// The process identity in temporary file names, from the system's process table (/proc).
#include "KF_WriterTag.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <random>

namespace kf::detail {
namespace {

// The whole of a small system file, or false when it cannot be read.
bool ReadSmall(const char* path, std::string& out, int& error)
{
    out.clear();
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        error = errno;
        return false;
    }
    char buffer[1024];
    for (ssize_t n; (n = ::read(fd, buffer, sizeof buffer)) != 0 && out.size() < 8192;) {
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            error = errno;
            ::close(fd);
            return false;
        }
        out.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return true;
}

std::uint32_t Hash(std::string_view text)
{
    std::uint32_t hash = 2166136261u;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619u;
    }
    return hash;
}

// Field 22 of /proc/<pid>/stat, counted after the command name, which may hold any character.
bool StartOf(const std::string& stat, unsigned long long& start)
{
    const std::size_t close = stat.rfind(')');
    if (close == std::string::npos)
        return false;
    std::size_t at = close + 1;
    for (int field = 3; field <= 22; ++field) {
        while (at < stat.size() && stat[at] == ' ')
            ++at;
        const std::size_t end = stat.find(' ', at);
        if (field == 22) {
            const char* first = stat.data() + at;
            const char* last = stat.data() + (end == std::string::npos ? stat.size() : end);
            const auto [stop, error] = std::from_chars(first, last, start);
            return error == std::errc() && stop == last;
        }
        if (end == std::string::npos)
            return false;
        at = end;
    }
    return false;
}

std::uint32_t ThisBoot()
{
    std::string id;
    int error = 0;
    return ReadSmall("/proc/sys/kernel/random/boot_id", id, error) ? Hash(id) : 0;
}

// The host name and the process-number space: a pid means something only within both.
std::uint32_t ThisPlace()
{
    char name[256] = {};
    ::gethostname(name, sizeof name - 1);
    struct stat space {};
    const unsigned long long ino = ::stat("/proc/self/ns/pid", &space) == 0 ? space.st_ino : 0;
    return Hash(std::string(name) + "/" + std::to_string(ino));
}

template <typename Number>
bool ParseNumber(std::string_view text, Number& value, int base)
{
    if (text.empty())
        return false;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return error == std::errc() && stop == text.data() + text.size();
}

std::string Hex(std::uint32_t value)
{
    char text[9] = {};
    std::to_chars(text, text + 8, value, 16);
    std::string digits(text);
    return std::string(8 - digits.size(), '0') + digits;
}

} // namespace

KF_WriterID KF_Writer_This()
{
    // A forked child is another writer: everything is taken again when the pid changes.
    static KF_WriterID sThis;
    const long pid = static_cast<long>(::getpid());
    if (sThis.pid != pid) {
        sThis.pid = pid;
        std::string stat;
        int error = 0;
        if (!ReadSmall("/proc/self/stat", stat, error) || !StartOf(stat, sThis.start))
            sThis.start = 0;
        sThis.boot = ThisBoot();
        sThis.place = ThisPlace();
    }
    return sThis;
}

std::string KF_Writer_NewTag()
{
    static std::mt19937 generator{
        std::random_device{}() ^
        static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count())};
    const KF_WriterID self = KF_Writer_This();
    return std::to_string(self.pid) + "-" + std::to_string(self.start) + "-" + Hex(self.boot) + "-" + Hex(self.place) +
           "-" + Hex(generator());
}

bool KF_Writer_Parse(std::string_view tag, KF_WriterID& writer)
{
    std::string_view parts[5];
    for (int i = 0; i < 5; ++i) {
        const std::size_t dash = tag.find('-');
        if ((dash == std::string_view::npos) != (i == 4))
            return false;
        parts[i] = tag.substr(0, dash);
        tag = dash == std::string_view::npos ? std::string_view() : tag.substr(dash + 1);
    }
    std::uint32_t random = 0;
    return ParseNumber(parts[0], writer.pid, 10) && writer.pid > 0 && ParseNumber(parts[1], writer.start, 10) &&
           parts[2].size() == 8 && ParseNumber(parts[2], writer.boot, 16) && parts[3].size() == 8 &&
           ParseNumber(parts[3], writer.place, 16) && parts[4].size() == 8 && ParseNumber(parts[4], random, 16);
}

bool KF_Writer_IsGone(const KF_WriterID& writer)
{
    const KF_WriterID self = KF_Writer_This();
    if (writer.place != self.place || self.start == 0)
        return false;
    if (writer.boot != self.boot)
        return self.boot != 0 && writer.boot != 0;
    std::string stat;
    int error = 0;
    const std::string path = "/proc/" + std::to_string(writer.pid) + "/stat";
    if (!ReadSmall(path.c_str(), stat, error))
        return error == ENOENT;
    unsigned long long start = 0;
    return writer.start != 0 && StartOf(stat, start) && start != writer.start;
}

} // namespace kf::detail
