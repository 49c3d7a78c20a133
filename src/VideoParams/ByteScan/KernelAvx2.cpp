#include "VideoParams/ByteScan/Kernels.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include <cstdint>

#define TARGET_AVX2 __attribute__((target("avx2")))

namespace videoparams {

namespace {

constexpr ptrdiff_t Width = 32;

bool Supported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

TARGET_AVX2 inline __m256i Load(const unsigned char* at)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

// Zero where two zero bytes begin.
TARGET_AVX2 inline __m256i Pairs(const unsigned char* at)
{
    return _mm256_or_si256(Load(at), Load(at + 1));
}

// A bit a byte: the bytes of `block` that equal `value`.
TARGET_AVX2 inline uint32_t Equal(__m256i block, char value)
{
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(block, _mm256_set1_epi8(value))));
}

// Whether two zero bytes begin anywhere in the four blocks from `at` on.
TARGET_AVX2 inline bool AnyPair(const unsigned char* at)
{
    const __m256i left = _mm256_min_epu8(Pairs(at), Pairs(at + Width));
    const __m256i right = _mm256_min_epu8(Pairs(at + 2 * Width), Pairs(at + 3 * Width));
    return Equal(_mm256_min_epu8(left, right), 0) != 0;
}

TARGET_AVX2 const unsigned char* Avx2StartCodePrefix(const unsigned char* begin, const unsigned char* end)
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

TARGET_AVX2 const unsigned char* Avx2ZeroPair(const unsigned char* begin, const unsigned char* end)
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

const ByteScanKernel avx2Kernel = {"avx2", Supported, Avx2StartCodePrefix, Avx2ZeroPair};

}  // namespace videoparams

#endif
