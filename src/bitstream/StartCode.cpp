#include "bitstream/StartCode.h"

#include "bitstream/ByteScan/ByteScan.h"

#include <cstddef>

namespace videoparams {

const unsigned char* StartCodeAt(const unsigned char* prefix, const unsigned char* begin,
                                 const unsigned char* end)
{
    if (prefix == end - 1)
        return nullptr;
    if (prefix != begin && prefix[-1] == 0)
        return prefix - 1;
    return end - prefix >= ptrdiff_t{ShortestUnit} ? prefix : nullptr;
}

const unsigned char* FindStartCode(const unsigned char* position, uint32_t count)
{
    if (count < ShortestUnit)
        return nullptr;
    const unsigned char* const end = position + count;
    return StartCodeAt(FindStartCodePrefix(position, end - 1), position, end);
}

}  // namespace videoparams
