// Replaces the functions of the C heap, and counts their calls. The C library has its own functions under a
// second name.

#include "Heap.h"

#include <cerrno>
#include <cstddef>
#include <malloc.h>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}

namespace {

thread_local uint64_t allocationCount = 0;
thread_local int64_t bytesInUse = 0;

int64_t SizeOf(void* block)
{
    return static_cast<int64_t>(malloc_usable_size(block));
}

void* Counted(void* block)
{
    ++allocationCount;
    bytesInUse += SizeOf(block);
    return block;
}

}  // namespace

namespace bench {

uint64_t AllocationCount()
{
    return allocationCount;
}

int64_t HeapBytesInUse()
{
    return bytesInUse;
}

}  // namespace bench

extern "C" {

void* malloc(size_t size)
{
    return Counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size)
{
    return Counted(__libc_calloc(count, size));
}

void* realloc(void* block, size_t size)
{
    bytesInUse -= SizeOf(block);
    return Counted(__libc_realloc(block, size));
}

void* memalign(size_t alignment, size_t size)
{
    return Counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size)
{
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block)
{
    bytesInUse -= SizeOf(block);
    __libc_free(block);
}

}  // extern "C"
