#include "bitstream/BitReader.h"

#include <algorithm>

namespace videoparams {

namespace {

constexpr uint32_t MaxLeadingZeroBits = 31;

}  // namespace

// Fewer than eight bytes are left from `byte` on.
uint64_t CBitReader::LastBytes(uint32_t byte) const
{
    const uint32_t count = size - byte;
    if (count == 0)
        return 0;
    if (size >= 8)
        return LoadBytes(data + size - 8) << (8 * (8 - count));
    uint64_t bytes = 0;
    for (uint32_t i = 0; i < count; ++i)
        bytes |= uint64_t{data[byte + i]} << (56 - 8 * i);
    return bytes;
}

// None, or more than 32: these are skipped at once up to the last 32, however many the stream asks for.
uint32_t CBitReader::ManyBits(uint32_t count)
{
    if (count == 0)
        return 0;
    position += std::min(uint64_t{count} - 32, BitsLeft());
    return Bits(32);
}

// A code whose end one load does not reach, or that the data end in, or that has too many zeros.
uint32_t CBitReader::LongUe()
{
    const auto next = static_cast<uint32_t>(NextBits() >> 32);
    const auto leadingZeroBits = static_cast<uint32_t>(std::countl_zero(next));
    if (leadingZeroBits > MaxLeadingZeroBits) {
        position += std::min<uint64_t>(leadingZeroBits, BitsLeft());
        pastEnd = true;
        return 0;
    }
    Advance(leadingZeroBits + 1);
    return (uint32_t{1} << leadingZeroBits) - 1 + Bits(leadingZeroBits);
}

}  // namespace videoparams
