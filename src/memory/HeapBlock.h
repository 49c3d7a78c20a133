#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

namespace videoparams {

// Heap blocks that know their true size in bytes. Nothing else in the library calls malloc, realloc or free.
namespace heap {

// Null: out of memory. GrowBlock keeps the contents; if it returns null, the block is as it was.
[[nodiscard]] void* AllocateBlock(uint64_t size) noexcept;
[[nodiscard]] void* GrowBlock(void* block, uint64_t size) noexcept;
void FreeBlock(void* block) noexcept;

}  // namespace heap

// Base of classes whose objects are made on this heap by `new (std::nothrow)`. The global operator of that
// form may throw internally, and a throw needs memory: without memory it may end the host.
struct HeapObject
{
    static void* operator new(size_t size, const std::nothrow_t&) noexcept
    {
        return heap::AllocateBlock(size);
    }
    static void operator delete(void* object) noexcept { heap::FreeBlock(object); }
};

// One record on the heap, or none.
template <typename Record>
class CHeapRecord
{
public:
    static_assert(std::is_trivially_copyable_v<Record>, "a block does not call constructors");

    CHeapRecord() = default;
    CHeapRecord(const CHeapRecord&) = delete;
    CHeapRecord& operator=(const CHeapRecord&) = delete;
    ~CHeapRecord() { heap::FreeBlock(record); }

    const Record* Get() const { return record; }

    // False: out of memory, and there is still no record.
    [[nodiscard]] bool Set(const Record& value)
    {
        if (record == nullptr)
            record = static_cast<Record*>(heap::AllocateBlock(sizeof(Record)));
        if (record == nullptr)
            return false;
        *record = value;
        return true;
    }

private:
    Record* record = nullptr;
};

}  // namespace videoparams
