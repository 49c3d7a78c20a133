#include "VideoParams/ByteScan/ByteScan.h"

#include "VideoParams/ByteScan/Kernels.h"

namespace videoparams {

const ByteScanKernel* const byteScanKernels[] = {
#if defined(__x86_64__) || defined(__i386__)
#if !defined(VIDEOPARAMS_WITHOUT_AVX2)  // to measure what it brings
    &avx2Kernel,
#endif
    &sse2Kernel,
#elif defined(__aarch64__)
    &neonKernel,
#endif
    &plainKernel,
    nullptr,
};

namespace {

const ByteScanKernel& ChooseKernel()
{
    for (const ByteScanKernel* const* kernel = byteScanKernels; *kernel != nullptr; ++kernel) {
        if ((*kernel)->supported())
            return **kernel;
    }
    return plainKernel;
}

const ByteScanKernel& BestKernel()
{
    static const ByteScanKernel& kernel = ChooseKernel();
    return kernel;
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
