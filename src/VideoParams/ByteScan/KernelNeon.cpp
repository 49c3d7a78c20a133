#include "VideoParams/ByteScan/Kernels.h"

#if defined(__aarch64__)

#include <arm_neon.h>

namespace videoparams {

namespace {

constexpr ptrdiff_t Width = 16;

bool Supported()
{
    return true;  // part of the architecture
}

// Zero where two zero bytes begin.
inline uint8x16_t Pairs(const unsigned char* at)
{
    return vorrq_u8(vld1q_u8(at), vld1q_u8(at + 1));
}

inline bool AnyZero(uint8x16_t block)
{
    return vminvq_u8(block) == 0;
}

// Whether two zero bytes begin anywhere in the four blocks from `at` on.
inline bool AnyPair(const unsigned char* at)
{
    const uint8x16_t left = vminq_u8(Pairs(at), Pairs(at + Width));
    const uint8x16_t right = vminq_u8(Pairs(at + 2 * Width), Pairs(at + 3 * Width));
    return AnyZero(vminq_u8(left, right));
}

// Passes over blocks without two zero bytes; a block that has them is left to the plain search.
template <ptrdiff_t MatchLength>
const unsigned char* Search(const unsigned char* begin, const unsigned char* end,
                            ByteScanKernel::Search plain)
{
    constexpr ptrdiff_t Overlap = MatchLength - 1;
    const unsigned char* at = begin;
    while (end - at >= Width + Overlap) {
        if (AnyZero(Pairs(at))) {
            const unsigned char* const blockEnd = at + Width + Overlap;
            const unsigned char* const found = plain(at, blockEnd);
            if (found != blockEnd)
                return found;
        }
        at += Width;
        while (end - at >= 4 * Width + Overlap && !AnyPair(at))
            at += 4 * Width;
    }
    return plain(at, end);
}

const unsigned char* NeonStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return Search<3>(begin, end, plainKernel.findStartCodePrefix);
}

const unsigned char* NeonZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return Search<2>(begin, end, plainKernel.findZeroPair);
}

}  // namespace

const ByteScanKernel neonKernel = {"neon", Supported, NeonStartCodePrefix, NeonZeroPair};

}  // namespace videoparams

#endif
