#include "LibsFixture.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {
std::atomic<long> sLive{0};
}

void* operator new(std::size_t size)
{
    void* block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    ++sLive;
    return block;
}
void* operator new[](std::size_t size)
{
    return ::operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* block = std::malloc(size != 0 ? size : 1);
    if (block != nullptr)
        ++sLive;
    return block;
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
    return ::operator new(size, tag);
}
void operator delete(void* block) noexcept
{
    if (block != nullptr) {
        --sLive;
        std::free(block);
    }
}
void operator delete[](void* block) noexcept
{
    ::operator delete(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    ::operator delete(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    ::operator delete(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept
{
    ::operator delete(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    ::operator delete(block);
}

namespace kftest {

long LiveBlocks()
{
    return sLive.load();
}

std::string U8(const KF_String& text)
{
    const KF_CString bytes = text.ToCStr(KF_String::Enc_UTF8);
    return bytes.bytes != nullptr ? std::string(bytes.bytes, ::strnlen(bytes.bytes, bytes.length)) : std::string();
}

std::string U8(const unsigned short* units)
{
    return U8(KF_String(units));
}

} // namespace kftest
