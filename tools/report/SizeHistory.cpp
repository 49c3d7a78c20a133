#include "report/SizeHistory.h"

#include <algorithm>

namespace tool {

namespace {

// Several to each column of the plot, and even, so that all pairs are whole.
constexpr size_t MaxBins = 8192;

}  // namespace

void SizeBin::Merge(const SizeBin& other)
{
    count += other.count;
    sum += other.sum;
    largestKey = std::max(largestKey, other.largestKey);
    largestOther = std::max(largestOther, other.largestOther);
}

void CSizeHistory::Add(uint64_t size, bool isKeyFrame)
{
    if (bins.empty() || bins.back().count == unitsPerBin) {
        if (bins.size() == MaxBins)
            Halve();
        bins.emplace_back();
    }
    bins.back().Merge({1, size, isKeyFrame ? size : 0, isKeyFrame ? 0 : size});
}

void CSizeHistory::Halve()
{
    for (size_t i = 0; i < MaxBins / 2; ++i) {
        bins[i] = bins[2 * i];
        bins[i].Merge(bins[2 * i + 1]);
    }
    bins.resize(MaxBins / 2);
    unitsPerBin *= 2;
}

}  // namespace tool
