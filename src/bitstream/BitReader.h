#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace videoparams {

// Reads bits, most significant first, and Exp-Golomb codes (H.264 9.1, H.265 9.2). Never fails: after the end
// it returns zeros and sets PastEnd().
//
// A local reader stays in registers, if no address of it is taken: functions that are not inlined get the
// reader's members.
class CBitReader
{
public:
    CBitReader() = default;
    CBitReader(const unsigned char* bytes, uint32_t byteCount) : data(bytes), size(byteCount) {}

    // Of more than 32 bits, returns the last 32.
    uint32_t Bits(uint32_t count)
    {
        if (count > heldCount) [[unlikely]] {
            if (count > 32) {
                SkipTo(std::min(Position() + (count - 32), BitCount()));
                count = 32;
            }
            Hold();
            if (count > heldCount)
                return LastBits(count);
        }
        const auto value = static_cast<uint32_t>(held >> 1 >> (63 - count));
        Drop(count);
        return value;
    }

    // ue(v). A code with more than 31 leading zeros is given up after the 32nd: 0, and PastEnd() is set.
    uint32_t Ue()
    {
        uint32_t leadingZeroBits = LeadingZeroBits();
        if (2 * leadingZeroBits >= heldCount) [[unlikely]] {
            Hold();
            leadingZeroBits = LeadingZeroBits();
            if (2 * leadingZeroBits >= heldCount)
                return LongUe(leadingZeroBits);
        }
        const uint32_t length = 2 * leadingZeroBits + 1;
        const auto value = static_cast<uint32_t>(held >> (64 - length)) - 1;
        Drop(length);
        return value;
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

    bool AtEnd() const { return Position() == BitCount(); }
    uint64_t BitsLeft() const { return BitCount() - Position(); }

    // The index of the byte with the next unread bit; the number of bytes at the end.
    uint32_t BytePosition() const { return static_cast<uint32_t>(Position() / 8); }

private:
    static constexpr uint32_t MaxLeadingZeroBits = 31;

    uint64_t BitCount() const { return uint64_t{size} * 8; }
    uint64_t Position() const { return heldEnd - heldCount; }

    // 63 also if there is no 1.
    uint32_t LeadingZeroBits() const { return static_cast<uint32_t>(std::countl_zero(held | 1)); }

    // At most 63 bits, all of which are held.
    void Drop(uint32_t count)
    {
        held <<= count;
        heldCount -= count;
    }

    void SkipTo(uint64_t position)
    {
        held = 0;
        heldCount = 0;
        heldEnd = position;
    }

    // At least 57 bits, unless the data end.
    void Hold()
    {
        const uint64_t position = Position();
        const uint32_t byte = BytePosition();
        held = size - byte >= 8 ? LoadBytes(data + byte) : LastBytes(data, size, byte);
        held <<= position % 8;
        heldCount = static_cast<uint32_t>(std::min(64 - position % 8, BitCount() - position));
        heldEnd = position + heldCount;
    }

    // More bits than are left.
    uint32_t LastBits(uint32_t count)
    {
        const auto value = static_cast<uint32_t>(held >> (64 - count));
        SkipTo(BitCount());
        pastEnd = true;
        return value;
    }

    // A code that one load does not reach, or that the data end in, or that has too many zeros.
    uint32_t LongUe(uint32_t leadingZeroBits)
    {
        if (leadingZeroBits > MaxLeadingZeroBits) {
            SkipTo(std::min(Position() + MaxLeadingZeroBits + 1, BitCount()));
            pastEnd = true;
            return 0;
        }
        Drop(leadingZeroBits + 1);
        return (uint32_t{1} << leadingZeroBits) - 1 + Bits(leadingZeroBits);
    }

    static uint64_t LoadBytes(const unsigned char* at)
    {
        return uint64_t{at[0]} << 56 | uint64_t{at[1]} << 48 | uint64_t{at[2]} << 40 | uint64_t{at[3]} << 32 |
               uint64_t{at[4]} << 24 | uint64_t{at[5]} << 16 | uint64_t{at[6]} << 8 | uint64_t{at[7]};
    }

    static uint64_t LastBytes(const unsigned char* data, uint32_t size, uint32_t byte);

    const unsigned char* data = nullptr;
    uint32_t size = 0;
    uint32_t heldCount = 0;  // bits that were loaded and not read
    uint64_t held = 0;       // the first of them on top; zeros after them
    uint64_t heldEnd = 0;    // the position after them, in bits
    bool pastEnd = false;
};

}  // namespace videoparams
