#include "support/FailingHeap.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace videoparams::test {

namespace {

// Not thread_local: where the compiler emulates that, its first use in a thread allocates.
FailingHeap* watching = nullptr;

}  // namespace

FailingHeap::Watch::Watch(FailingHeap& heap)
{
    watching = &heap;
}

FailingHeap::Watch::~Watch()
{
    watching = nullptr;
}

bool FailingHeap::Refuses()
{
    if (watching == nullptr)
        return false;
    const uint64_t number = ++watching->allocations;
    const uint64_t failAt = watching->allocationToFail;
    const bool isLate = number > failAt && watching->failure == Failure::ForGood;
    const bool refuses = failAt != 0 && (number == failAt || isLate);
    watching->hasFailed = watching->hasFailed || refuses;
    return refuses;
}

void FailingHeap::CountBlocks(int64_t change, int64_t bytes)
{
    if (watching == nullptr)
        return;
    watching->blocksLeft += change;
    watching->bytesLeft += bytes;
    watching->mostBytes = std::max(watching->mostBytes, watching->bytesLeft);
}

}  // namespace videoparams::test

using videoparams::test::FailingHeap;

namespace {

int64_t SizeOf(void* block)
{
#ifdef _WIN32
    return block != nullptr ? static_cast<int64_t>(_msize(block)) : 0;
#else
    return static_cast<int64_t>(malloc_usable_size(block));
#endif
}

void* Counted(void* block)
{
    FailingHeap::CountBlocks(1, SizeOf(block));
    return block;
}

}  // namespace

// The names that the linker gives to the wrapped functions and to what they take the place of.
extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size)
{
    return FailingHeap::Refuses() ? nullptr : Counted(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size)
{
    return FailingHeap::Refuses() ? nullptr : Counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size)
{
    if (FailingHeap::Refuses())
        return nullptr;
    const int64_t before = SizeOf(block);
    void* const grown = __real_realloc(block, size);
    FailingHeap::CountBlocks(block == nullptr ? 1 : 0, SizeOf(grown) - before);
    return grown;
}

void __wrap_free(void* block)
{
    if (block != nullptr)
        FailingHeap::CountBlocks(-1, -SizeOf(block));
    __real_free(block);
}

}  // extern "C"

// The array forms of the standard library call these.
void* operator new(size_t size)
{
    void* const block = std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, size_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}
