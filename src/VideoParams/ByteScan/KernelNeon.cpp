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

bool AnyZero(uint8x16_t block)
{
    return vminvq_u8(block) == 0;
}

// Whether two zero bytes begin anywhere in the four blocks from `at` on; they are copied all the same.
template <bool Copying>
bool AnyPair(const unsigned char* at, unsigned char* to)
{
    const uint8x16_t first = vld1q_u8(at);
    const uint8x16_t second = vld1q_u8(at + Width);
    const uint8x16_t third = vld1q_u8(at + 2 * Width);
    const uint8x16_t fourth = vld1q_u8(at + 3 * Width);
    // Zero where two zero bytes begin.
    const uint8x16_t left =
        vminq_u8(vorrq_u8(first, vld1q_u8(at + 1)), vorrq_u8(second, vld1q_u8(at + Width + 1)));
    const uint8x16_t right = vminq_u8(vorrq_u8(third, vld1q_u8(at + 2 * Width + 1)),
                                      vorrq_u8(fourth, vld1q_u8(at + 3 * Width + 1)));
    if constexpr (Copying) {
        vst1q_u8(to, first);
        vst1q_u8(to + Width, second);
        vst1q_u8(to + 2 * Width, third);
        vst1q_u8(to + 3 * Width, fourth);
    }
    return AnyZero(vminq_u8(left, right));
}

const unsigned char* PlainSearch(const unsigned char* begin, const unsigned char* end, ptrdiff_t matchLength)
{
    return matchLength == 3 ? plainKernel.findStartCodePrefix(begin, end)
                            : plainKernel.findZeroPair(begin, end);
}

// Passes over four blocks a step; where two zero bytes begin in them, and at the end, the plain search looks.
template <ptrdiff_t MatchLength, bool Copying>
const unsigned char* Search(const unsigned char* begin, const unsigned char* end, unsigned char* destination)
{
    constexpr ptrdiff_t Overlap = MatchLength - 1;
    const unsigned char* at = begin;
    while (end - at >= 4 * Width + Overlap) {
        const unsigned char* const next = at + 4 * Width;
        if (AnyPair<Copying>(at, destination + (Copying ? at - begin : 0))) {
            const unsigned char* const found = PlainSearch(at, next + Overlap, MatchLength);
            if (found != next + Overlap)
                return found;
        }
        at = next;
    }
    if constexpr (Copying)
        return plainKernel.copyToStartCodePrefix(at, end, destination + (at - begin));
    return PlainSearch(at, end, MatchLength);
}

const unsigned char* NeonStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return Search<3, false>(begin, end, nullptr);
}

const unsigned char* NeonZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return Search<2, false>(begin, end, nullptr);
}

const unsigned char* NeonCopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                               unsigned char* destination)
{
    return Search<3, true>(begin, end, destination);
}

}  // namespace

const ByteScanKernel neonKernel = {"neon", Supported, NeonStartCodePrefix, NeonZeroPair,
                                   NeonCopyToStartCodePrefix};

}  // namespace videoparams

#endif
