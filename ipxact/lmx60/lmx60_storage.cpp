#include <ipxact/lmx60/lmx60_storage.h>

#ifdef IPXACT_MIMALLOC_STORAGE
#include <mimalloc.h>
#endif

namespace lmx60 {

void* storage_allocate(std::size_t size)
{
#ifdef IPXACT_MIMALLOC_STORAGE
    return mi_new(size);
#else
    return ::operator new(size);
#endif
}

void storage_release(void* block) noexcept
{
#ifdef IPXACT_MIMALLOC_STORAGE
    mi_free(block);
#else
    ::operator delete(block);
#endif
}

}  // namespace lmx60
