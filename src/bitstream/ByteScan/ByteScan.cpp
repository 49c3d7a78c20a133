#include "bitstream/ByteScan/ByteScan.h"

#include "bitstream/ByteScan/Kernels.h"

#include <atomic>

namespace videoparams {

const ByteScanKernel* const byteScanKernels[] = {
#if defined(__x86_64__) || defined(__i386__)
#if !defined(VIDEOPARAMS_WITHOUT_AVX2)  // to measure what it brings
    &avx2Kernel,
#endif
    &sse2Kernel,
#elif defined(__aarch64__)
    &neonKernel,
#elif defined(__wasm_simd128__)
    &wasmKernel,
#endif
    &plainKernel,
    nullptr,
};

namespace {

// At the latest the plain one, which every machine supports.
const ByteScanKernel& ChooseKernel()
{
    const ByteScanKernel* const* kernel = byteScanKernels;
    while (!(*kernel)->supported())
        ++kernel;
    return **kernel;
}

// Threads that choose at the same time choose the same. A static with a constructor would take a lock, and a
// lock may take memory, which may not be there.
const ByteScanKernel& BestKernel()
{
    static std::atomic<const ByteScanKernel*> chosen = nullptr;
    const ByteScanKernel* kernel = chosen.load(std::memory_order_relaxed);
    if (kernel == nullptr) {
        kernel = &ChooseKernel();
        chosen.store(kernel, std::memory_order_relaxed);
    }
    return *kernel;
}

}  // namespace

const unsigned char* FindStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return BestKernel().findStartCodePrefix(begin, end);
}

const unsigned char* FindZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return BestKernel().findZeroPair(begin, end);
}

const unsigned char* CopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                           unsigned char* destination)
{
    return BestKernel().copyToStartCodePrefix(begin, end, destination);
}

}  // namespace videoparams
