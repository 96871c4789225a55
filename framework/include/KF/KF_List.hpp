// KF_List<T>: the framework's one sequence container. The elements live in a single host memory
// block sized to exactly count elements; they are relocated by raw byte moves, so T must tolerate
// being moved bytewise (owned pointers and plain values do).
#pragma once

#include "BM.hpp"

#include <cstring>
#include <new>
#include <utility>

template <typename T>
class KF_List {
public:
    // Callers read the elements through store (element i at byte i * sizeof(T) of *store) and
    // count; a null store means the list lost its block to exhausted memory and ignores AddData.
    long count;
    HostHandle store;

    KF_List();
    KF_List(const KF_List& other);
    KF_List& operator=(const KF_List& other);
    virtual ~KF_List();

    // Inserts a copy of value before position; -1 appends. A position beyond the end appends.
    void AddData(T value, long position = -1);
    void DeleteData(const long& index);
    bool MoveData(long from, long to);
    bool Search(bool (*match)(char* element, void* context), long& index, void* context);
    void SetSize(long n, bool keep);
    void Reset();

    // Typed access beside the raw store.
    long GetCount() const { return count; }
    T* Data() const { return store != nullptr ? std::launder(reinterpret_cast<T*>(*store)) : nullptr; }
    T& operator[](long index) const { return Data()[index]; }
    // Null when index is out of range or the store is gone.
    T* Get(long index) const { return (index >= 0 && index < count && store != nullptr) ? Data() + index : nullptr; }
    T* begin() const { return Data(); }
    T* end() const { return Data() + (store != nullptr ? count : 0); }

    void Swap(KF_List& other) noexcept
    {
        std::swap(count, other.count);
        std::swap(store, other.store);
    }

private:
    static constexpr HostSize kElem = HostSize(sizeof(T));
    static constexpr HostFlags kAllocFlags = BMFlagClear;

    char* Slot(long index) const { return *store + HostSize(index) * kElem; }
    void DestroyRange(long from, long to)
    {
        for (long i = from; i < to; ++i) {
            std::launder(reinterpret_cast<T*>(Slot(i)))->~T();
        }
    }
    static bool SizeFor(long n, HostSize& bytes)
    {
        if (n < 0 || HostSize(n) > (HostSize(1) << 62) / kElem) {
            return false;
        }
        bytes = HostSize(n) * kElem;
        return true;
    }
    // After a failed reallocation the elements can no longer be reached: release them and the
    // old block so that nothing leaks, and leave the list with a null store.
    void DropStore(long liveElements)
    {
        DestroyRange(0, liveElements);
        BMKillHandle(&store);
        store = nullptr;
        count = 0;
    }
};

template <typename T>
KF_List<T>::KF_List() : count(0), store(BMAllocateHandle(0, kAllocFlags, 0))
{}

template <typename T>
KF_List<T>::KF_List(const KF_List& other) : count(0), store(nullptr)
{
    if (other.store == nullptr) {
        return;
    }
    HostSize bytes = 0;
    if (!SizeFor(other.count, bytes)) {
        return;
    }
    store = BMAllocateHandle(bytes, kAllocFlags, 0);
    if (store == nullptr) {
        return;
    }
    long built = 0;
    try {
        for (; built < other.count; ++built) {
            ::new (static_cast<void*>(Slot(built))) T(other.Data()[built]);
        }
    } catch (...) {
        DropStore(built);
        throw;
    }
    count = other.count;
}

template <typename T>
KF_List<T>& KF_List<T>::operator=(const KF_List& other)
{
    if (this != &other) {
        KF_List copy(other);
        Swap(copy);
    }
    return *this;
}

template <typename T>
KF_List<T>::~KF_List()
{
    if (store != nullptr) {
        DestroyRange(0, count);
        BMKillHandle(&store);
    }
    count = 0;
}

template <typename T>
void KF_List<T>::AddData(T value, long position)
{
    if (store == nullptr) {
        return;
    }
    if (position == -1 || position < 0 || position > count) {
        position = count;
    }
    HostSize bytes = 0;
    if (!SizeFor(count + 1, bytes)) {
        return;
    }
    const HostFlags state = BMhGetState(store);
    BMhLock(store);
    const HostHandle grown = BMReallocHandle(store, bytes, kAllocFlags, 0);
    if (grown == nullptr) {
        DropStore(count);
        return;
    }
    store = grown;
    std::memmove(Slot(position + 1), Slot(position), size_t(count - position) * sizeof(T));
    std::memset(Slot(position), 0, sizeof(T));
    try {
        ::new (static_cast<void*>(Slot(position))) T(std::move(value));
    } catch (...) {
        // Put the block back as it was so that the size invariant holds.
        std::memmove(Slot(position), Slot(position + 1), size_t(count - position) * sizeof(T));
        const HostHandle shrunk = BMReallocHandle(store, HostSize(count) * kElem, kAllocFlags, 0);
        if (shrunk == nullptr) {
            DropStore(count);
        } else {
            store = shrunk;
            BMhSetState(store, state);
        }
        throw;
    }
    ++count;
    BMhSetState(store, state);
}

template <typename T>
void KF_List<T>::DeleteData(const long& index)
{
    const long at = index; // index may refer to an element of this very list
    if (store == nullptr || at < 0 || at >= count) {
        return;
    }
    const HostFlags state = BMhGetState(store);
    BMhLock(store);
    std::launder(reinterpret_cast<T*>(Slot(at)))->~T();
    std::memmove(Slot(at), Slot(at + 1), size_t(count - at - 1) * sizeof(T));
    --count;
    const HostHandle shrunk = BMReallocHandle(store, HostSize(count) * kElem, kAllocFlags, 0);
    if (shrunk == nullptr) {
        DropStore(count);
        return;
    }
    store = shrunk;
    BMhSetState(store, state);
}

template <typename T>
bool KF_List<T>::MoveData(long from, long to)
{
    if (store == nullptr || from < 0 || to < 0 || from == to || from >= count || to >= count) {
        return false;
    }
    const HostFlags state = BMhGetState(store);
    BMhLock(store);
    alignas(T) unsigned char scratch[sizeof(T)];
    std::memcpy(scratch, Slot(from), sizeof(T));
    if (to > from) {
        std::memmove(Slot(from), Slot(from + 1), size_t(to - from) * sizeof(T));
    } else {
        std::memmove(Slot(to + 1), Slot(to), size_t(from - to) * sizeof(T));
    }
    std::memcpy(Slot(to), scratch, sizeof(T));
    BMhSetState(store, state);
    return true;
}

template <typename T>
bool KF_List<T>::Search(bool (*match)(char* element, void* context), long& index, void* context)
{
    index = -1;
    if (store == nullptr || match == nullptr) {
        return false;
    }
    const HostFlags state = BMhGetState(store);
    BMhLock(store);
    bool found = false;
    for (long i = 0; i < count; ++i) {
        if (match(Slot(i), context)) {
            index = i;
            found = true;
            break;
        }
    }
    BMhSetState(store, state);
    return found;
}

template <typename T>
void KF_List<T>::SetSize(long n, bool keep)
{
    if (n < 0) {
        n = 0;
    }
    HostSize bytes = 0;
    const bool sizeOk = SizeFor(n, bytes);
    long kept = 0;
    if (store != nullptr) {
        BMhLock(store);
        if (!keep) {
            DestroyRange(0, count);
            count = 0;
        } else if (n < count) {
            DestroyRange(n, count);
            count = n;
        }
        kept = count;
        const HostHandle resized = sizeOk ? BMReallocHandle(store, bytes, kAllocFlags, 0) : nullptr;
        if (resized == nullptr) {
            DropStore(kept);
            return;
        }
        store = resized;
    } else {
        count = 0;
        store = sizeOk ? BMAllocateHandle(bytes, kAllocFlags, 0) : nullptr;
        if (store == nullptr) {
            return;
        }
    }
    for (long i = kept; i < n; ++i) {
        std::memset(Slot(i), 0, sizeof(T));
        ::new (static_cast<void*>(Slot(i))) T();
        count = i + 1;
    }
    count = n;
    BMhUnlock(store);
}

template <typename T>
void KF_List<T>::Reset()
{
    if (store == nullptr) {
        count = 0;
        return;
    }
    BMhLock(store);
    DestroyRange(0, count);
    count = 0;
    const HostHandle emptied = BMReallocHandle(store, 0, kAllocFlags, 0);
    if (emptied == nullptr) {
        DropStore(0);
        return;
    }
    store = emptied;
    BMhUnlock(store);
}
