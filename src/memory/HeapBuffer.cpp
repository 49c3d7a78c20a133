#include "memory/HeapBuffer.h"

#include <algorithm>
#include <cstdlib>

namespace videoparams::heap {

namespace {

// Stands in front of every block, and keeps the block's alignment.
struct alignas(std::max_align_t) BlockHeader
{
    size_t size;
};

BlockHeader* HeaderOf(void* block)
{
    return static_cast<BlockHeader*>(block) - 1;
}

void* Finish(void* memory, size_t size)
{
    if (memory == nullptr)
        return nullptr;
    auto* const header = static_cast<BlockHeader*>(memory);
    header->size = size;
    return header + 1;
}

bool Fits(uint64_t size)
{
    return size <= SIZE_MAX - sizeof(BlockHeader);
}

void* Reallocate(BlockHeader* header, uint64_t size)
{
    if (!Fits(size))
        return nullptr;
    return Finish(std::realloc(header, static_cast<size_t>(size) + sizeof(BlockHeader)),
                  static_cast<size_t>(size));
}

}  // namespace

void* AllocateBlock(uint64_t size) noexcept
{
    if (!Fits(size))
        return nullptr;
    return Finish(std::malloc(static_cast<size_t>(size) + sizeof(BlockHeader)), static_cast<size_t>(size));
}

void* GrowBlock(void* block, uint64_t size) noexcept
{
    if (block == nullptr)
        return AllocateBlock(size);
    BlockHeader* const header = HeaderOf(block);
    if (size <= header->size)
        return block;
    // Half as much again, so that many small steps cost little more than the bytes. Where the heap cannot
    // give that, the need itself.
    const uint64_t generous = std::max(size, uint64_t{header->size} + header->size / 2);
    void* const grown = Reallocate(header, generous);
    return grown == nullptr && generous > size ? Reallocate(header, size) : grown;
}

void FreeBlock(void* block) noexcept
{
    if (block != nullptr)
        std::free(HeaderOf(block));
}

}  // namespace videoparams::heap
