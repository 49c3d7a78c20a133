// What a plot of picture sizes shows, in positions on its horizontal axis: seconds, or pictures if the stream
// does not give its frame rate.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/SizeHistory.h"

#include <cstddef>
#include <vector>

namespace tool {

struct PlotColumn
{
    double begin = 0;
    double end = 0;
    SizeBin sizes;
};

class CPlotData
{
public:
    CPlotData(const CSizeHistory& history, bool isInSeconds);

    bool IsInSeconds() const { return isInSeconds; }
    double Length() const { return bins.empty() ? 0 : bins.back().end; }
    const SizeBin& Total() const { return total; }

    // One for each picture, as long as the history has one bin for each.
    const std::vector<PlotColumn>& Bins() const { return bins; }

    // `count` columns of equal width, each with the bins whose middle is in it.
    std::vector<PlotColumn> Columns(size_t count) const;

    // Bytes per second or per picture at `position`, as the mean of `window`.
    double Rate(double position, double window) const;

    // The smallest window that is not shorter than `least` and evens out the key frames: a multiple of their
    // mean distance.
    double EvenWindow(double least) const;

private:
    double BytesBefore(double position) const;

    bool isInSeconds;
    std::vector<PlotColumn> bins;
    std::vector<double> bytesBefore;  // of each of the bins
    SizeBin total;
};

}  // namespace tool
