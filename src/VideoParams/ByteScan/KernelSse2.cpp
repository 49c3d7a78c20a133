#include "VideoParams/ByteScan/Kernels.h"

#if defined(__x86_64__) || defined(__i386__)

#include <emmintrin.h>

#include <cstdint>

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

// Zero where two zero bytes begin.
TARGET_SSE2 inline __m128i Pairs(const unsigned char* at)
{
    return _mm_or_si128(Load(at), Load(at + 1));
}

// A bit a byte: the bytes of `block` that equal `value`.
TARGET_SSE2 inline uint32_t Equal(__m128i block, char value)
{
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(value))));
}

// Whether two zero bytes begin anywhere in the four blocks from `at` on.
TARGET_SSE2 inline bool AnyPair(const unsigned char* at)
{
    const __m128i left = _mm_min_epu8(Pairs(at), Pairs(at + Width));
    const __m128i right = _mm_min_epu8(Pairs(at + 2 * Width), Pairs(at + 3 * Width));
    return Equal(_mm_min_epu8(left, right), 0) != 0;
}

TARGET_SSE2 const unsigned char* Sse2StartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    const unsigned char* at = begin;
    while (end - at >= Width + 2) {
        const uint32_t found = Equal(Pairs(at), 0) & Equal(Load(at + 2), 1);
        if (found != 0)
            return at + __builtin_ctz(found);
        at += Width;
        while (end - at >= 4 * Width + 2 && !AnyPair(at))
            at += 4 * Width;
    }
    return plainKernel.findStartCodePrefix(at, end);
}

TARGET_SSE2 const unsigned char* Sse2ZeroPair(const unsigned char* begin, const unsigned char* end)
{
    const unsigned char* at = begin;
    while (end - at >= Width + 1) {
        const uint32_t found = Equal(Pairs(at), 0);
        if (found != 0)
            return at + __builtin_ctz(found);
        at += Width;
        while (end - at >= 4 * Width + 1 && !AnyPair(at))
            at += 4 * Width;
    }
    return plainKernel.findZeroPair(at, end);
}

}  // namespace

const ByteScanKernel sse2Kernel = {"sse2", Supported, Sse2StartCodePrefix, Sse2ZeroPair};

}  // namespace videoparams

#endif
