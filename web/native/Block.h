// A growing array that reports when it cannot grow: nothing throws in the module.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace web {

template <class T>
class CBlock
{
public:
    static_assert(std::is_trivially_copyable_v<T>);

    CBlock() = default;
    ~CBlock() { std::free(items); }
    CBlock(const CBlock&) = delete;
    CBlock& operator=(const CBlock&) = delete;

    T* Data() { return items; }
    uint32_t Count() const { return count; }
    void Clear() { count = 0; }

    void Release()
    {
        std::free(items);
        items = nullptr;
        count = 0;
        capacity = 0;
    }

    // False: out of memory, and nothing changed.
    [[nodiscard]] bool Append(const T* added, uint32_t addedCount)
    {
        if (!MakeRoom(uint64_t{count} + addedCount))
            return false;
        if (addedCount != 0)
            std::memcpy(items + count, added, addedCount * sizeof(T));
        count += addedCount;
        return true;
    }

    // The next `added` items were written into the room.
    void Extend(uint32_t added) { count += added; }

    void RemoveFirst(uint32_t removed)
    {
        if (removed == 0)
            return;
        std::memmove(items, items + removed, (count - removed) * sizeof(T));
        count -= removed;
    }

    [[nodiscard]] bool Append(const T& added) { return Append(&added, 1); }

    [[nodiscard]] bool MakeRoom(uint64_t needed)
    {
        if (needed <= capacity)
            return true;
        const uint64_t newCapacity = std::max(needed, 2 * uint64_t{capacity});
        if (newCapacity * sizeof(T) > SIZE_MAX)
            return false;
        void* const grown = std::realloc(items, static_cast<size_t>(newCapacity) * sizeof(T));
        if (grown == nullptr)
            return false;
        items = static_cast<T*>(grown);
        capacity = static_cast<uint32_t>(newCapacity);
        return true;
    }

private:
    T* items = nullptr;
    uint32_t count = 0;
    uint32_t capacity = 0;
};

}  // namespace web
