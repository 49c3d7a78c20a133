#pragma once

#include <cstddef>

namespace videoparams {

// One way of searching. The plain kernel is the definition; the others agree with it on every input.
struct ByteScanKernel
{
    using Search = const unsigned char* (*)(const unsigned char* begin, const unsigned char* end);
    using CopyingSearch = const unsigned char* (*)(const unsigned char* begin, const unsigned char* end,
                                                   unsigned char* destination);

    const char* name;
    bool (*supported)();
    Search findStartCodePrefix;
    Search findZeroPair;
    CopyingSearch copyToStartCodePrefix;
};

extern const ByteScanKernel plainKernel;

#if defined(__x86_64__) || defined(__i386__)
extern const ByteScanKernel sse2Kernel;
extern const ByteScanKernel avx2Kernel;
#elif defined(__aarch64__)
extern const ByteScanKernel neonKernel;
#elif defined(__wasm_simd128__)
extern const ByteScanKernel wasmKernel;
#endif

// All kernels of this architecture, the best first and the plain one last; a null ends the list.
extern const ByteScanKernel* const byteScanKernels[];

}  // namespace videoparams
