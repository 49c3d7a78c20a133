#pragma once

#include "memory/HeapBlock.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

// The heap blocks of a handle. A block's size stands in a field beside its pointer and takes exactly the
// values that the growth rules give; the block behind it may be larger, so that growth by a few bytes a time
// stays linear.

namespace videoparams {

// Allocates `size` elements for a pointer that is null. False: it stays null.
template <typename T>
[[nodiscard]] bool AllocateBuffer(T*& data, uint32_t size)
{
    assert(data == nullptr);
    data = static_cast<T*>(heap::AllocateBlock(uint64_t{size} * sizeof(T)));
    return data != nullptr;
}

// Where `needed` elements do not fit, grows to `newSize` and keeps the contents. False: all stays as it was.
template <typename T>
[[nodiscard]] bool MakeRoom(T*& data, uint32_t& size, uint64_t needed, uint64_t newSize)
{
    if (needed <= size)
        return true;
    if (newSize > UINT32_MAX)
        return false;
    void* const grown = heap::GrowBlock(data, newSize * sizeof(T));
    if (grown == nullptr)
        return false;
    data = static_cast<T*>(grown);
    size = static_cast<uint32_t>(newSize);
    return true;
}

template <typename T>
void FreeBuffer(T*& data)
{
    heap::FreeBlock(data);
    data = nullptr;
}

// Where `needed` elements do not fit, makes a block of exactly that size in place of the old one. False: none
// is left.
template <typename T>
[[nodiscard]] bool ReplaceBuffer(T*& data, uint32_t& size, uint32_t needed)
{
    if (needed <= size)
        return true;
    FreeBuffer(data);
    size = 0;
    if (!AllocateBuffer(data, needed))
        return false;
    size = needed;
    return true;
}

// Appends to a block in which room has been made.
struct ByteSink
{
    unsigned char*& data;
    uint32_t& size;
    uint32_t& length;

    void Append(const unsigned char* bytes, uint32_t count)
    {
        assert(count <= size - length);
        if (count != 0)
            std::memcpy(data + length, bytes, count);
        length += count;
    }

    void Append(unsigned char byte) { Append(&byte, 1); }
};

}  // namespace videoparams
