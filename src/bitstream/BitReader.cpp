#include "bitstream/BitReader.h"

namespace videoparams {

// Fewer than eight bytes are left from `byte` on.
uint64_t CBitReader::LastBytes(const unsigned char* data, uint32_t size, uint32_t byte)
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

}  // namespace videoparams
