#include "VideoParams/ByteScan/Kernels.h"

#if defined(__x86_64__) || defined(__i386__)

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>

#define TARGET_SSE2 __attribute__((target("sse2")))

namespace videoparams {

namespace {

constexpr ptrdiff_t Width = 16;

bool Supported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("sse2");
}

TARGET_SSE2 inline __m128i Load(const unsigned char* at)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

TARGET_SSE2 inline void Store(unsigned char* at, __m128i block)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), block);
}

// A bit a byte: the bytes of `block` that equal `value`.
TARGET_SSE2 inline uint32_t Equal(__m128i block, char value)
{
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(value))));
}

// A bit a byte: where 00 00 begins, or 00 00 01.
template <ptrdiff_t MatchLength>
TARGET_SSE2 inline uint32_t Matches(const unsigned char* at)
{
    const uint32_t pairs = Equal(_mm_or_si128(Load(at), Load(at + 1)), 0);
    return MatchLength == 3 ? pairs & Equal(Load(at + 2), 1) : pairs;
}

// Whether two zero bytes begin anywhere in the four blocks from `at` on; they are copied all the same.
template <bool Copying>
TARGET_SSE2 inline bool AnyPair(const unsigned char* at, unsigned char* to)
{
    const __m128i first = Load(at);
    const __m128i second = Load(at + Width);
    const __m128i third = Load(at + 2 * Width);
    const __m128i fourth = Load(at + 3 * Width);
    // Zero where two zero bytes begin.
    const __m128i left =
        _mm_min_epu8(_mm_or_si128(first, Load(at + 1)), _mm_or_si128(second, Load(at + Width + 1)));
    const __m128i right = _mm_min_epu8(_mm_or_si128(third, Load(at + 2 * Width + 1)),
                                       _mm_or_si128(fourth, Load(at + 3 * Width + 1)));
    if constexpr (Copying) {
        Store(to, first);
        Store(to + Width, second);
        Store(to + 2 * Width, third);
        Store(to + 3 * Width, fourth);
    }
    return Equal(_mm_min_epu8(left, right), 0) != 0;
}

// Takes at least a block and what a match reaches beyond it. Loads are aligned, or stores where there are
// some. The last block overlaps the one in front of it.
template <ptrdiff_t MatchLength, bool Copying>
TARGET_SSE2 const unsigned char* Search(const unsigned char* begin, const unsigned char* end,
                                        unsigned char* destination)
{
    constexpr ptrdiff_t Overlap = MatchLength - 1;
    const unsigned char* const last = end - Width - Overlap;
    const unsigned char* at = begin;
    const auto address = reinterpret_cast<uintptr_t>(Copying ? destination : begin);
    ptrdiff_t step = Width - static_cast<ptrdiff_t>(address % Width);
    while (true) {
        if constexpr (Copying)
            Store(destination + (at - begin), Load(at));
        const uint32_t found = Matches<MatchLength>(at);
        if (found != 0)
            return at + __builtin_ctz(found);
        if (at == last)
            break;
        at += std::min(step, last - at);
        while (last - at >= 4 * Width && !AnyPair<Copying>(at, destination + (Copying ? at - begin : 0)))
            at += 4 * Width;
        step = Width;
    }
    if constexpr (Copying)
        Store(destination + (last - begin) + Overlap, Load(last + Overlap));
    return end;
}

const unsigned char* Sse2StartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return end - begin < Width + 2 ? plainKernel.findStartCodePrefix(begin, end)
                                   : Search<3, false>(begin, end, nullptr);
}

const unsigned char* Sse2ZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return end - begin < Width + 1 ? plainKernel.findZeroPair(begin, end)
                                   : Search<2, false>(begin, end, nullptr);
}

const unsigned char* Sse2CopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                               unsigned char* destination)
{
    return end - begin < Width + 2 ? plainKernel.copyToStartCodePrefix(begin, end, destination)
                                   : Search<3, true>(begin, end, destination);
}

}  // namespace

const ByteScanKernel sse2Kernel = {"sse2", Supported, Sse2StartCodePrefix, Sse2ZeroPair,
                                   Sse2CopyToStartCodePrefix};

}  // namespace videoparams

#endif
