#include "SmallDisk.hpp"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace kftest {

SmallDisk::SmallDisk(const std::filesystem::path& at, std::size_t sizeBytes) : at_(at)
{
    const std::string options = "size=" + std::to_string(sizeBytes) + ",mode=0700";
    if (::mount("kftest", at.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options.c_str()) == 0)
        mounted_ = true;
    else
        why_ = std::string("cannot mount a tmpfs here: ") + std::strerror(errno);
}

SmallDisk::~SmallDisk()
{
    // Detached, so that a file still open in the test never keeps the mount.
    if (mounted_)
        ::umount2(at_.c_str(), MNT_DETACH);
}

std::size_t SmallDisk::Fill(const std::string& fileName)
{
    const int fd = ::open((at_ / fileName).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return 0;
    std::size_t total = 0;
    std::vector<char> block(4096, 'f');
    for (std::size_t size = block.size(); size > 0; size /= 2)
        while (true) {
            const ssize_t n = ::write(fd, block.data(), size);
            if (n <= 0)
                break;
            total += static_cast<std::size_t>(n);
        }
    ::close(fd);
    return total;
}

} // namespace kftest
