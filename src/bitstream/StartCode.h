// Start codes, H.264 and H.265 Annex B. A start code counts only if at least five bytes are left from its
// first zero on:
//     00 00 01 xx xx      00 00 00 01 xx
// so no unit begins within the last four bytes of a stream.

#pragma once

#include "bitstream/ByteScan/ByteScan.h"

#include <cstddef>
#include <cstdint>

namespace videoparams {

constexpr uint32_t ShortestUnit = 5;

// The start code that is written; those of a stream may have three bytes.
constexpr unsigned char LongStartCode[] = {0, 0, 0, 1};

// The search for the end of a unit starts after these. The fourth byte of a longer start code is 1, which
// begins no start code.
constexpr uint32_t ShortStartCodeLength = 3;

// Of a unit, which begins with a start code.
inline uint32_t StartCodeLength(const unsigned char* unit)
{
    return unit[2] == 1 ? 3 : 4;
}

inline bool IsBareStartCode(const unsigned char* unit, uint32_t unitSize)
{
    return unitSize == StartCodeLength(unit);
}

// Whether any bytes begin with a start code, however few follow.
inline bool BeginsWithStartCode(const unsigned char* bytes, uint32_t size)
{
    if (size < 3 || bytes[0] != 0 || bytes[1] != 0)
        return false;
    return bytes[2] == 1 || (bytes[2] == 0 && size >= 4 && bytes[3] == 1);
}

// The start code that ends in the 00 00 01 at `prefix`, or null if it does not count. `prefix` is the first
// one in [begin, end - 1), or `end` - 1 if no 00 00 01 is there.
inline const unsigned char* StartCodeAt(const unsigned char* prefix, const unsigned char* begin,
                                        const unsigned char* end)
{
    if (prefix == end - 1)
        return nullptr;
    if (prefix != begin && prefix[-1] == 0)
        return prefix - 1;
    return end - prefix >= ptrdiff_t{ShortestUnit} ? prefix : nullptr;
}

// The first start code that counts, or null.
inline const unsigned char* FindStartCode(const unsigned char* position, uint32_t count)
{
    if (count < ShortestUnit)
        return nullptr;
    const unsigned char* const end = position + count;
    return StartCodeAt(FindStartCodePrefix(position, end - 1), position, end);
}

// The start code after the unit at `unit`, or null if the unit runs to the end, `count` bytes on.
inline const unsigned char* FindUnitEnd(const unsigned char* unit, uint32_t count)
{
    return FindStartCode(unit + ShortStartCodeLength, count - ShortStartCodeLength);
}

}  // namespace videoparams
