#include "memory/HeapBlock.h"

#include <algorithm>
#include <cstdlib>

namespace videoparams::heap {

namespace {

// Comes before every block. Its size keeps the block aligned for any type.
struct alignas(std::max_align_t) BlockHeader
{
    size_t size;
};

static_assert(sizeof(BlockHeader) % alignof(std::max_align_t) == 0);

BlockHeader* HeaderOf(void* block)
{
    return reinterpret_cast<BlockHeader*>(static_cast<unsigned char*>(block) - sizeof(BlockHeader));
}

bool Fits(uint64_t size)
{
    return size <= SIZE_MAX - sizeof(BlockHeader);
}

// Writes the header and returns the block after it.
void* Finish(void* memory, uint64_t size)
{
    if (memory == nullptr)
        return nullptr;
    ::new (memory) BlockHeader{static_cast<size_t>(size)};
    return static_cast<unsigned char*>(memory) + sizeof(BlockHeader);
}

void* Reallocate(BlockHeader* header, uint64_t size)
{
    if (!Fits(size))
        return nullptr;
    return Finish(std::realloc(header, static_cast<size_t>(size) + sizeof(BlockHeader)), size);
}

}  // namespace

void* AllocateBlock(uint64_t size) noexcept
{
    if (!Fits(size))
        return nullptr;
    return Finish(std::malloc(static_cast<size_t>(size) + sizeof(BlockHeader)), size);
}

void* GrowBlock(void* block, uint64_t size) noexcept
{
    if (block == nullptr)
        return AllocateBlock(size);
    BlockHeader* const header = HeaderOf(block);
    if (size <= header->size)
        return block;
    // Grow by at least a half, so that many small steps cost little more than the bytes. If the heap does not
    // have that much, ask for the needed size alone.
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
