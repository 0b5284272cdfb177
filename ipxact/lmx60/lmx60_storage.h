// Storage of the bound objects and of what they own behind a pointer (lists of children, boxed
// optional values). A document is millions of small blocks made together and released together;
// they come from one small-block allocator (mimalloc where the build has it), whatever the host's
// global operator new. Every block is still released on its own, by any thread, so objects may
// leave their document, move between threads and outlive each other freely.
#ifndef IPXACT_LMX60_LMX60_STORAGE_H
#define IPXACT_LMX60_LMX60_STORAGE_H

#include <cstddef>
#include <new>
#include <utility>

namespace lmx60 {

// A block of at least `size` bytes aligned for any scalar; throws std::bad_alloc when there is none.
void* storage_allocate(std::size_t size);
// Releases a block of storage_allocate; null is ignored.
void storage_release(void* block) noexcept;

// A standard-library allocator over the same storage.
template <class T>
struct storage_allocator {
    using value_type = T;
    storage_allocator() = default;
    template <class U>
    storage_allocator(const storage_allocator<U>&) noexcept
    {
    }
    T* allocate(std::size_t n)
    {
        if (n > static_cast<std::size_t>(-1) / sizeof(T))
            throw std::bad_alloc();
        return static_cast<T*>(storage_allocate(n * sizeof(T)));
    }
    void deallocate(T* block, std::size_t) noexcept { storage_release(block); }
    template <class U>
    bool operator==(const storage_allocator<U>&) const noexcept
    {
        return true;
    }
    template <class U>
    bool operator!=(const storage_allocator<U>&) const noexcept
    {
        return false;
    }
};

// new and delete for a value held in that storage.
template <class T, class... Arguments>
T* storage_new(Arguments&&... arguments)
{
    void* block = storage_allocate(sizeof(T));
    try {
        return ::new (block) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
        storage_release(block);
        throw;
    }
}

template <class T>
void storage_delete(T* value) noexcept
{
    if (value) {
        value->~T();
        storage_release(value);
    }
}

}  // namespace lmx60

#endif
