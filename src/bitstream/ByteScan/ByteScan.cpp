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

extern const ByteScanKernel choosingKernel;

// Threads that choose at the same time choose the same. A static with a constructor would take a lock, and a
// lock may take memory, which may not be there.
constinit std::atomic<const ByteScanKernel*> chosenKernel = &choosingKernel;

// At the latest the plain one, which every machine supports.
const ByteScanKernel& ChooseKernel()
{
    const ByteScanKernel* const* kernel = byteScanKernels;
    while (!(*kernel)->supported())
        ++kernel;
    chosenKernel.store(*kernel, std::memory_order_relaxed);
    return **kernel;
}

const ByteScanKernel& Kernel()
{
    return *chosenKernel.load(std::memory_order_relaxed);
}

// The first search of all chooses the kernel for the later ones.
const ByteScanKernel choosingKernel = {
    "choosing", nullptr,
    [](const unsigned char* begin, const unsigned char* end) {
        return ChooseKernel().findStartCodePrefix(begin, end);
    },
    [](const unsigned char* begin, const unsigned char* end) {
        return ChooseKernel().findZeroPair(begin, end);
    },
    [](const unsigned char* begin, const unsigned char* end, unsigned char* destination) {
        return ChooseKernel().copyToStartCodePrefix(begin, end, destination);
    }};

}  // namespace

const unsigned char* FindStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    return Kernel().findStartCodePrefix(begin, end);
}

const unsigned char* FindZeroPair(const unsigned char* begin, const unsigned char* end)
{
    return Kernel().findZeroPair(begin, end);
}

const unsigned char* CopyToStartCodePrefix(const unsigned char* begin, const unsigned char* end,
                                           unsigned char* destination)
{
    return Kernel().copyToStartCodePrefix(begin, end, destination);
}

}  // namespace videoparams
