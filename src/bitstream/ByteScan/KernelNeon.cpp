#if defined(__aarch64__)

#define VECTOR_TARGET  // part of the architecture
#include "bitstream/ByteScan/VectorSearch.h"

#include <arm_neon.h>

namespace videoparams {

namespace {

bool Supported()
{
    return true;
}

struct Neon
{
    using Block = uint8x16_t;
    static constexpr ptrdiff_t Width = 16;
    static constexpr ptrdiff_t MaskBitsPerByte = 4;

    static Block Load(const unsigned char* at) { return vld1q_u8(at); }
    static void Store(unsigned char* at, Block block) { vst1q_u8(at, block); }
    static Block Or(Block a, Block b) { return vorrq_u8(a, b); }
    static Block Min(Block a, Block b) { return vminq_u8(a, b); }

    // Shifted right by four as pairs and narrowed, the bytes become a nibble each.
    static uint64_t Equal(Block block, unsigned char value)
    {
        const uint16x8_t equal = vreinterpretq_u16_u8(vceqq_u8(block, vdupq_n_u8(value)));
        return vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(equal, 4)), 0);
    }
};

}  // namespace

const ByteScanKernel neonKernel = {"neon", Supported, VectorStartCodePrefix<Neon, plainKernel>,
                                   VectorZeroPair<Neon, plainKernel>,
                                   VectorCopyToStartCodePrefix<Neon, plainKernel>};

}  // namespace videoparams

#endif
