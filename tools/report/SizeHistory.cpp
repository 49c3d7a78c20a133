#include "report/SizeHistory.h"

#include <algorithm>

namespace tool {

namespace {

// Several for each column of the plot, and an even number, so that every bin has a partner.
constexpr size_t MaxBins = 8192;

}  // namespace

void SizeBin::Merge(const SizeBin& other)
{
    count += other.count;
    keyCount += other.keyCount;
    sum += other.sum;
    largestKey = std::max(largestKey, other.largestKey);
    largestOther = std::max(largestOther, other.largestOther);
    seconds += other.seconds;
}

void CSizeHistory::Add(uint64_t size, bool isKeyFrame, double seconds)
{
    if (bins.empty() || bins.back().count == unitsPerBin) {
        if (bins.size() == MaxBins)
            Halve();
        bins.emplace_back();
    }
    bins.back().Merge({.count = 1,
                       .keyCount = isKeyFrame,
                       .sum = size,
                       .largestKey = isKeyFrame ? size : 0,
                       .largestOther = isKeyFrame ? 0 : size,
                       .seconds = seconds});
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
