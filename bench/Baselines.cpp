// The baselines of the operations: the cost of the memory traffic alone.

#include "Measure.h"

#include <algorithm>
#include <cstring>

namespace bench {

namespace {

void Memcpy(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    (void)key;
    const PageBytes copy = AllocatePages(stream.size);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        std::memcpy(copy.get(), stream.bytes.get(), stream.size);
        benchmark::ClobberMemory();
        return true;
    });
}

// Copies to one block, as insertion and removal do.
void MemcpyByUnit(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    (void)key;
    size_t largest = 0;
    for (const AccessUnit& unit : stream.accessUnits)
        largest = std::max<size_t>(largest, unit.size);
    const PageBytes copy = AllocatePages(largest);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        for (const AccessUnit& unit : stream.accessUnits) {
            std::memcpy(copy.get(), unit.data, unit.size);
            benchmark::ClobberMemory();
        }
        return true;
    });
}

void Memchr(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    (void)key;
    Measure(state, stream.size, stream.accessUnits.size(),
            [&] { return std::memchr(stream.bytes.get(), AbsentByte, stream.size) == nullptr; });
}

size_t CountStartCodes(const unsigned char* data, size_t size)
{
    size_t count = 0;
    for (size_t i = 0; i + 3 <= size; ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1)
            ++count;
    }
    return count;
}

void ByteByByte(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    (void)key;
    Measure(state, stream.size, stream.accessUnits.size(),
            [&] { return CountStartCodes(stream.bytes.get(), stream.size) >= stream.accessUnits.size(); });
}

}  // namespace

void RegisterBaselines(const StreamKey& key)
{
    Register(key, "memcpy", Memcpy);
    Register(key, "memcpy by unit", MemcpyByUnit);
    Register(key, "memchr", Memchr);
    Register(key, "byte by byte", ByteByByte);
}

}  // namespace bench
