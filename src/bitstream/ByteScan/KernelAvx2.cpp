#if defined(__x86_64__) || defined(__i386__)

#define VECTOR_TARGET __attribute__((target("avx2")))
#include "bitstream/ByteScan/VectorSearch.h"

#include <immintrin.h>

namespace videoparams {

namespace {

bool Supported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

struct Avx2
{
    using Block = __m256i;
    static constexpr ptrdiff_t Width = 32;
    static constexpr ptrdiff_t MaskBitsPerByte = 1;

    VECTOR_TARGET static Block Load(const unsigned char* at)
    {
        return _mm256_loadu_si256(reinterpret_cast<const Block*>(at));
    }

    VECTOR_TARGET static void Store(unsigned char* at, Block block)
    {
        _mm256_storeu_si256(reinterpret_cast<Block*>(at), block);
    }

    VECTOR_TARGET static Block Or(Block a, Block b) { return _mm256_or_si256(a, b); }
    VECTOR_TARGET static Block Min(Block a, Block b) { return _mm256_min_epu8(a, b); }

    VECTOR_TARGET static uint32_t Equal(Block block, char value)
    {
        return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(block, _mm256_set1_epi8(value))));
    }
};

}  // namespace

const ByteScanKernel avx2Kernel = {"avx2", Supported, VectorStartCodePrefix<Avx2, sse2Kernel>,
                                   VectorZeroPair<Avx2, sse2Kernel>,
                                   VectorCopyToStartCodePrefix<Avx2, sse2Kernel>};

}  // namespace videoparams

#endif
