// The fuzzer's bytes in an exactly sized heap block, so that any read past the end is caught.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

inline std::unique_ptr<char[]> ExactCopy(const std::uint8_t* data, std::size_t size)
{
    std::unique_ptr<char[]> bytes(new char[size == 0 ? 1 : size]);
    if (size > 0) {
        std::memcpy(bytes.get(), data, size);
    }
    return bytes;
}
