// Bits, most significant first, and Exp-Golomb codes (H.264 9.1, H.265 9.2). The reader never fails: behind
// the end there are zeros, and `readPastEnd` says that some were read.

#include "parser/ParserBase.h"

#include <algorithm>

namespace videoparams {

namespace {

constexpr uint32_t MaxLeadingZeroBits = 31;

}  // namespace

void CParserBase::InitReadData(const unsigned char* data, uint32_t size)
{
    readPtr = data;
    readBytesLeft = size;
    readBitPos = 0;
    readPastEnd = false;
}

// Of more than 32 bits, the last 32 are returned.
uint32_t CParserBase::ReadData(uint32_t count)
{
    if (count > 32) {  // step over the others at once, whatever the stream says
        const uint64_t target = uint64_t{readBitPos} + count - 32;
        const auto bytes = static_cast<uint32_t>(std::min<uint64_t>(target / 8, readBytesLeft));
        readPtr += bytes;
        readBytesLeft -= bytes;
        readBitPos = readBytesLeft == 0 ? 0 : target % 8;
        count = 32;
    }
    uint32_t value = 0;
    while (count != 0) {
        if (readBytesLeft == 0) {
            readPastEnd = true;
            return value;
        }
        const uint32_t taken = std::min(8 - readBitPos, count);
        const uint32_t bits = ((uint32_t{*readPtr} << readBitPos) & 0xFF) >> (8 - taken);
        count -= taken;
        value |= bits << count;
        readBitPos += taken;
        if (readBitPos == 8) {
            ++readPtr;
            --readBytesLeft;
            readBitPos = 0;
        }
    }
    return value;
}

// The bits of a u(v) whose length is coded as a logarithm minus 4. Behind 2^32 there is no data.
uint32_t CParserBase::BitsOf(uint32_t log2_minus4)
{
    return std::min(log2_minus4, UINT32_MAX - 4) + 4;
}

uint32_t CParserBase::GetUE()
{
    uint32_t leadingZeroBits = 0;
    while (true) {
        if (readBytesLeft == 0 || leadingZeroBits > MaxLeadingZeroBits) {
            readPastEnd = true;
            return 0;
        }
        if (ReadData(1) == 1)
            break;
        ++leadingZeroBits;
    }
    return (uint32_t{1} << leadingZeroBits) - 1 + ReadData(leadingZeroBits);
}

int32_t CParserBase::GetSE()
{
    const uint32_t code = GetUE();
    const auto half = static_cast<int32_t>(code >> 1);
    return code % 2 != 0 ? half + 1 : -half;
}

Result CParserBase::GetDataPtr(const unsigned char** data) const
{
    *data = readPtr;
    return ResultOk;
}

}  // namespace videoparams
