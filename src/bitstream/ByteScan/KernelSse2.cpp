#if defined(__x86_64__) || defined(__i386__)

#define VECTOR_TARGET __attribute__((target("sse2")))
#include "bitstream/ByteScan/VectorSearch.h"

#include <emmintrin.h>

namespace videoparams {

namespace {

bool Supported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("sse2");
}

struct Sse2
{
    using Block = __m128i;
    static constexpr ptrdiff_t Width = 16;
    static constexpr ptrdiff_t MaskBitsPerByte = 1;

    VECTOR_TARGET static Block Load(const unsigned char* at)
    {
        return _mm_loadu_si128(reinterpret_cast<const Block*>(at));
    }

    VECTOR_TARGET static void Store(unsigned char* at, Block block)
    {
        _mm_storeu_si128(reinterpret_cast<Block*>(at), block);
    }

    VECTOR_TARGET static Block Or(Block a, Block b) { return _mm_or_si128(a, b); }
    VECTOR_TARGET static Block Min(Block a, Block b) { return _mm_min_epu8(a, b); }

    VECTOR_TARGET static uint32_t Equal(Block block, char value)
    {
        return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(value))));
    }
};

}  // namespace

const ByteScanKernel sse2Kernel = {"sse2", Supported, VectorStartCodePrefix<Sse2, plainKernel>,
                                   VectorZeroPair<Sse2, plainKernel>,
                                   VectorCopyToStartCodePrefix<Sse2, plainKernel>};

}  // namespace videoparams

#endif
