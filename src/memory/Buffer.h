#pragma once

#include "memory/HeapBlock.h"

#include <cassert>
#include <cstdint>
#include <cstring>
#include <utility>

namespace videoparams {

// A heap block that belongs to one member and is freed with it. `size` takes exactly the values that callers
// ask for; the block may be larger, so that growth by a few elements at a time stays linear.
template <typename Element>
struct BufferOf
{
    static_assert(std::is_trivially_copyable_v<Element>, "a block moves its elements as bytes");
    static_assert(sizeof(Element) <= 256, "the bytes of 2^32 elements fit 64 bits");

    Element* data = nullptr;
    uint32_t size = 0;    // elements allocated
    uint32_t length = 0;  // elements in use

    BufferOf() = default;
    BufferOf(const BufferOf&) = delete;
    BufferOf& operator=(const BufferOf&) = delete;
    ~BufferOf() { heap::FreeBlock(data); }

    // For a buffer without a block. False: out of memory, nothing is changed.
    [[nodiscard]] bool Allocate(uint32_t newSize)
    {
        assert(data == nullptr);
        data = static_cast<Element*>(heap::AllocateBlock(uint64_t{newSize} * sizeof(Element)));
        if (data == nullptr)
            return false;
        size = newSize;
        return true;
    }

    // If `needed` elements do not fit, grows to `newSize`, which is not less, and keeps the contents. False:
    // out of memory or too large, nothing is changed.
    [[nodiscard]] bool MakeRoom(uint64_t needed, uint64_t newSize)
    {
        assert(newSize >= needed || needed <= size);
        if (needed <= size)
            return true;
        if (newSize > UINT32_MAX)
            return false;
        void* const grown = heap::GrowBlock(data, newSize * sizeof(Element));
        if (grown == nullptr)
            return false;
        data = static_cast<Element*>(grown);
        size = static_cast<uint32_t>(newSize);
        return true;
    }

    // If `needed` elements do not fit, makes a block of exactly that size and drops the old one with its
    // contents. False: out of memory, there is no block.
    [[nodiscard]] bool Replace(uint32_t needed)
    {
        length = 0;
        if (needed <= size)
            return true;
        Free();
        return Allocate(needed);
    }

    void Free()
    {
        heap::FreeBlock(data);
        data = nullptr;
        size = 0;
        length = 0;
    }

    void Swap(BufferOf& other)
    {
        std::swap(data, other.data);
        std::swap(size, other.size);
        std::swap(length, other.length);
    }

    // Room must have been made.
    void Append(const Element* elements, uint32_t count)
    {
        assert(count <= size - length);
        if (count != 0)
            std::memcpy(data + length, elements, size_t{count} * sizeof(Element));
        length += count;
    }

    void Append(Element element)
    {
        assert(length < size);
        data[length++] = element;
    }

    // The room that is left.
    Element* End() { return data + length; }
    uint32_t Room() const { return size - length; }
};

using Buffer = BufferOf<unsigned char>;

}  // namespace videoparams
