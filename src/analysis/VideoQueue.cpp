#include "analysis/VideoQueue.h"

#include <cstring>

namespace videoparams {

void AccessUnit::Clear()
{
    bytes.length = 0;
    parameterSetOffset = 0;
    isKeyFrame = false;
}

Result AccessUnit::Store(const unsigned char* data, uint32_t count)
{
    const uint64_t needed = uint64_t{bytes.length} + count;
    if (!bytes.MakeRoom(needed, needed))
        return ResultFailed;
    bytes.Append(data, count);
    return ResultOk;
}

// An empty one takes over the whole block, and gives its own in exchange.
Result AccessUnit::Take(AccessUnit& other)
{
    if (bytes.length != 0)
        return Store(other.bytes.data, other.bytes.length);
    bytes.Swap(other.bytes);
    return ResultOk;
}

// Moves the bytes after the offset back, and copies the two pieces into the gap.
Result AccessUnit::Insert(uint32_t offset, const Buffer& first, const Buffer& second)
{
    const uint64_t needed = uint64_t{bytes.length} + first.length + second.length;
    if (!bytes.MakeRoom(needed, needed))
        return ResultFailed;
    unsigned char* const gap = bytes.data + offset;
    const uint32_t tailLength = bytes.length - offset;
    std::memmove(gap + first.length + second.length, gap, tailLength);
    bytes.length = offset;
    bytes.Append(first.data, first.length);
    bytes.Append(second.data, second.length);
    bytes.length += tailLength;
    return ResultOk;
}

CVideoQueue::~CVideoQueue()
{
    for (; ringCount != 0; --ringCount)
        ring[ringCount - 1].~AccessUnit();
    heap::FreeBlock(ring);
}

Result CVideoQueue::Create(uint32_t count, uint32_t size)
{
    ring = static_cast<AccessUnit*>(heap::AllocateBlock(uint64_t{count} * sizeof(AccessUnit)));
    if (ring == nullptr)
        return ResultFailed;
    while (ringCount < count) {
        AccessUnit* const made = ::new (ring + ringCount) AccessUnit;
        ++ringCount;
        if (!made->bytes.Allocate(size))
            return ResultFailed;  // the destructor frees the others
    }
    return spare.bytes.Allocate(size) ? ResultOk : ResultFailed;
}

AccessUnit& CVideoQueue::TakeNext()
{
    AccessUnit& next = ring[nextIndex];
    ++nextIndex;
    if (nextIndex == ringCount)
        nextIndex = 0;
    next.Clear();
    return next;
}

AccessUnit& CVideoQueue::TakeSpare()
{
    spare.Clear();
    return spare;
}

}  // namespace videoparams
