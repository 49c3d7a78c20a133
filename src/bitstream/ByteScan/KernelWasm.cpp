#if defined(__wasm_simd128__)

#define VECTOR_TARGET  // all of the module is compiled for it
#include "bitstream/ByteScan/VectorSearch.h"

#include <wasm_simd128.h>

namespace videoparams {

namespace {

bool Supported()
{
    return true;
}

struct WasmSimd128
{
    using Block = v128_t;
    static constexpr ptrdiff_t Width = 16;
    static constexpr ptrdiff_t MaskBitsPerByte = 1;

    static Block Load(const unsigned char* at) { return wasm_v128_load(at); }
    static void Store(unsigned char* at, Block block) { wasm_v128_store(at, block); }
    static Block Or(Block a, Block b) { return wasm_v128_or(a, b); }
    static Block Min(Block a, Block b) { return wasm_u8x16_min(a, b); }

    static uint32_t Equal(Block block, char value)
    {
        return wasm_i8x16_bitmask(wasm_i8x16_eq(block, wasm_i8x16_splat(value)));
    }
};

}  // namespace

const ByteScanKernel wasmKernel = {"wasm", Supported, VectorStartCodePrefix<WasmSimd128, plainKernel>,
                                   VectorZeroPair<WasmSimd128, plainKernel>,
                                   VectorCopyToStartCodePrefix<WasmSimd128, plainKernel>};

}  // namespace videoparams

#endif
