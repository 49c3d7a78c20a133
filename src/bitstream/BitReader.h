#pragma once

#include <bit>
#include <cstdint>

namespace videoparams {

// Reads bits, most significant first, and Exp-Golomb codes (H.264 9.1, H.265 9.2). Never fails: after the end
// it returns zeros and sets PastEnd().
class CBitReader
{
public:
    CBitReader() = default;
    CBitReader(const unsigned char* bytes, uint32_t byteCount)
        : data(bytes), size(byteCount), bitCount(uint64_t{byteCount} * 8)
    {}

    // Of more than 32 bits, returns the last 32.
    uint32_t Bits(uint32_t count)
    {
        if (count - 1 >= 32)  // 0, or more than 32
            return ManyBits(count);
        const auto value = static_cast<uint32_t>(NextBits() >> (64 - count));
        Advance(count);
        return value;
    }

    // ue(v). A code with more than 31 leading zeros is given up after the 32nd: 0, and PastEnd() is set.
    uint32_t Ue()
    {
        const uint64_t next = NextBits();
        const auto leadingZeroBits = static_cast<uint32_t>(std::countl_zero(next));
        if (leadingZeroBits > LongestPrefix)
            return LongUe();
        const uint32_t length = 2 * leadingZeroBits + 1;
        Advance(length);
        return static_cast<uint32_t>(next >> (64 - length)) - 1;
    }

    // se(v)
    int32_t Se()
    {
        const uint32_t code = Ue();
        const auto half = static_cast<int32_t>(code >> 1);
        return code % 2 != 0 ? half + 1 : -half;
    }

    // Something was read that is not there, or a code was given up.
    bool PastEnd() const { return pastEnd; }

    bool AtEnd() const { return position == bitCount; }
    uint64_t BitsLeft() const { return bitCount - position; }

    // The index of the byte with the next unread bit; the number of bytes at the end.
    uint32_t BytePosition() const { return static_cast<uint32_t>(position / 8); }

private:
    // One load gives at least 57 bits: a code with 28 leading zeros, and the zeros are seen.
    static constexpr uint32_t LongestPrefix = 28;

    // The next 57 bits at least, first bit on top. There are zeros after the end.
    uint64_t NextBits() const
    {
        const uint32_t byte = BytePosition();
        const uint64_t bytes = size - byte >= 8 ? LoadBytes(data + byte) : LastBytes(byte);
        return bytes << (position % 8);
    }

    static uint64_t LoadBytes(const unsigned char* at)
    {
        return uint64_t{at[0]} << 56 | uint64_t{at[1]} << 48 | uint64_t{at[2]} << 40 | uint64_t{at[3]} << 32 |
               uint64_t{at[4]} << 24 | uint64_t{at[5]} << 16 | uint64_t{at[6]} << 8 | uint64_t{at[7]};
    }

    void Advance(uint32_t count)
    {
        position += count;
        if (position > bitCount) {
            position = bitCount;
            pastEnd = true;
        }
    }

    uint64_t LastBytes(uint32_t byte) const;
    uint32_t ManyBits(uint32_t count);
    uint32_t LongUe();

    const unsigned char* data = nullptr;
    uint32_t size = 0;
    bool pastEnd = false;
    uint64_t bitCount = 0;
    uint64_t position = 0;
};

}  // namespace videoparams
