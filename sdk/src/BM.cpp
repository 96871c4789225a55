#include "BM.hpp"
#include "BMTesting.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// The handle is the address of `bytes`, the block's master pointer. The block keeps spare room
// beneath the size it reports, so that growing one element at a time stays cheap.
struct Block {
    char* bytes;
    HostSize size;
    HostSize capacity;
    HostFlags state;
};

std::atomic<long> sFailCountdown{0};
std::atomic<HostSize> sFailFromSize{-1};
std::atomic<long> sLiveHandles{0};

Block* BlockOf(HostHandle handle)
{
    // Block is standard-layout and bytes is its first member, so the two addresses coincide.
    return reinterpret_cast<Block*>(handle);
}

bool InjectedFailure(HostSize size)
{
    long n = sFailCountdown.load(std::memory_order_relaxed);
    while (n > 0) {
        if (sFailCountdown.compare_exchange_weak(n, n - 1, std::memory_order_relaxed)) {
            if (n == 1) {
                return true;
            }
            break;
        }
    }
    const HostSize from = sFailFromSize.load(std::memory_order_relaxed);
    return from >= 0 && size >= from;
}

constexpr HostSize kMaxBlock = HostSize(1) << 48;

} // namespace

HostHandle BMAllocateHandle(HostSize size, HostFlags flags, short /*reserved*/)
{
    if (size < 0 || size > kMaxBlock || InjectedFailure(size)) {
        return nullptr;
    }
    auto* block = new (std::nothrow) Block{nullptr, size, size > 0 ? size : 1, 0};
    if (block == nullptr) {
        return nullptr;
    }
    block->bytes = static_cast<char*>(std::malloc(size_t(block->capacity)));
    if (block->bytes == nullptr) {
        delete block;
        return nullptr;
    }
    if ((flags & BMFlagClear) != 0) {
        std::memset(block->bytes, 0, size_t(block->capacity));
    }
    sLiveHandles.fetch_add(1, std::memory_order_relaxed);
    return &block->bytes;
}

HostHandle BMReallocHandle(HostHandle handle, HostSize newSize, HostFlags flags, short /*reserved*/)
{
    if (handle == nullptr || newSize < 0 || newSize > kMaxBlock || InjectedFailure(newSize)) {
        return nullptr;
    }
    Block* const block = BlockOf(handle);
    const HostSize oldSize = block->size;
    if (newSize > block->capacity) {
        // Grow by half again, so that a run of small growths costs linear time overall.
        HostSize wanted = block->capacity + block->capacity / 2;
        if (wanted < newSize) {
            wanted = newSize;
        }
        auto* moved = static_cast<char*>(std::realloc(block->bytes, size_t(wanted)));
        if (moved == nullptr && wanted != newSize) {
            wanted = newSize;
            moved = static_cast<char*>(std::realloc(block->bytes, size_t(wanted)));
        }
        if (moved == nullptr) {
            return nullptr;
        }
        block->bytes = moved;
        block->capacity = wanted;
    } else if (newSize < block->capacity / 4 && block->capacity > 256) {
        // Give memory back once most of it is unused; a failed shrink keeps the larger block.
        const HostSize wanted = newSize > 0 ? newSize : 1;
        auto* moved = static_cast<char*>(std::realloc(block->bytes, size_t(wanted)));
        if (moved != nullptr) {
            block->bytes = moved;
            block->capacity = wanted;
        }
    }
    if ((flags & BMFlagClear) != 0 && newSize > oldSize) {
        std::memset(block->bytes + oldSize, 0, size_t(newSize - oldSize));
    }
    block->size = newSize;
    return handle;
}

HostSize BMGetHandleSize(HostHandle handle)
{
    return handle != nullptr ? BlockOf(handle)->size : 0;
}

void BMKillHandle(HostHandle* handle)
{
    if (handle == nullptr || *handle == nullptr) {
        return;
    }
    Block* const block = BlockOf(*handle);
    std::free(block->bytes);
    delete block;
    *handle = nullptr;
    sLiveHandles.fetch_sub(1, std::memory_order_relaxed);
}

HostFlags BMhGetState(HostHandle handle)
{
    return handle != nullptr ? BlockOf(handle)->state : 0;
}

HostErrCode BMhSetState(HostHandle handle, HostFlags state)
{
    if (handle == nullptr) {
        return APIERR_BADPARS;
    }
    BlockOf(handle)->state = state;
    return NoError;
}

HostErrCode BMhLock(HostHandle handle)
{
    if (handle == nullptr) {
        return APIERR_BADPARS;
    }
    BlockOf(handle)->state |= BMLockedState;
    return NoError;
}

HostErrCode BMhUnlock(HostHandle handle)
{
    if (handle == nullptr) {
        return APIERR_BADPARS;
    }
    BlockOf(handle)->state &= ~BMLockedState;
    return NoError;
}

namespace BMTesting {

void FailNthAllocation(long n)
{
    sFailCountdown.store(n > 0 ? n : 0, std::memory_order_relaxed);
}

void FailAllocationsFromSize(HostSize bytes)
{
    sFailFromSize.store(bytes, std::memory_order_relaxed);
}

void ResetFailures()
{
    sFailCountdown.store(0, std::memory_order_relaxed);
    sFailFromSize.store(-1, std::memory_order_relaxed);
}

long LiveHandleCount()
{
    return sLiveHandles.load(std::memory_order_relaxed);
}

} // namespace BMTesting
