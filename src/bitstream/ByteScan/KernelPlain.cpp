#include "bitstream/ByteScan/Kernels.h"

#include <cstring>

namespace videoparams {

namespace {

bool Supported()
{
    return true;
}

// The third byte of a candidate limits where the next one can be.
const unsigned char* PlainStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    const unsigned char* at = begin;
    while (end - at >= 3) {
        if (at[2] > 1)
            at += 3;
        else if (at[2] == 0)
            at += 1;
        else if (at[0] == 0 && at[1] == 0)
            return at;
        else
            at += 3;
    }
    return end;
}

const unsigned char* PlainZeroPair(const unsigned char* begin, const unsigned char* end)
{
    const unsigned char* at = begin;
    while (end - at >= 2) {
        if (at[1] != 0)
            at += 2;
        else if (at[0] != 0)
            at += 1;
        else
            return at;
    }
    return end;
}

const unsigned char* PlainCopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                                unsigned char* destination)
{
    const unsigned char* const prefix = PlainStartCodePrefix(begin, end);
    if (prefix != begin)
        std::memcpy(destination, begin, static_cast<size_t>(prefix - begin));
    return prefix;
}

}  // namespace

const ByteScanKernel plainKernel = {"plain", Supported, PlainStartCodePrefix, PlainZeroPair,
                                    PlainCopyToStartCodePrefix};

}  // namespace videoparams
