// A real small file system for tests of a full disk: a tmpfs mounted over a folder. Mounting needs
// privileges; where the machine refuses, Mounted() is false and the test skips.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace kftest {

class SmallDisk {
public:
    // Mounts a tmpfs of sizeBytes over the existing empty folder at.
    SmallDisk(const std::filesystem::path& at, std::size_t sizeBytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool Mounted() const { return mounted_; }
    const std::string& Why() const { return why_; }
    // Fills the disk with one file until the system refuses another byte; the bytes written.
    std::size_t Fill(const std::string& fileName = "filler.bin");

private:
    std::filesystem::path at_;
    bool mounted_ = false;
    std::string why_;
};

} // namespace kftest
