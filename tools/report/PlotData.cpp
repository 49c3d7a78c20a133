#include "report/PlotData.h"

#include <algorithm>
#include <cmath>

namespace tool {

CPlotData::CPlotData(const CSizeHistory& history, bool seconds) : isInSeconds(seconds)
{
    double position = 0;
    for (const SizeBin& bin : history.Bins()) {
        const double width = isInSeconds ? bin.seconds : static_cast<double>(bin.count);
        bins.push_back({position, position + width, bin});
        bytesBefore.push_back(static_cast<double>(total.sum));
        position += width;
        total.Merge(bin);
    }
}

std::vector<PlotColumn> CPlotData::Columns(size_t count) const
{
    std::vector<PlotColumn> columns(count);
    const double width = Length() / static_cast<double>(count);
    for (size_t i = 0; i < count; ++i) {
        columns[i].begin = static_cast<double>(i) * width;
        columns[i].end = columns[i].begin + width;
    }
    for (const PlotColumn& bin : bins) {
        const auto place = static_cast<size_t>((bin.begin + bin.end) / 2 / width);
        columns[std::min(place, count - 1)].sizes.Merge(bin.sizes);
    }
    return columns;
}

double CPlotData::Rate(double position, double window) const
{
    const double width = std::min(window, Length());
    const double begin = std::clamp(position - width / 2, 0.0, Length() - width);
    return (BytesBefore(begin + width) - BytesBefore(begin)) / width;
}

double CPlotData::BytesBefore(double position) const
{
    const auto isBefore = [](double value, const PlotColumn& bin) { return value < bin.begin; };
    const auto next = std::upper_bound(bins.begin(), bins.end(), position, isBefore);
    const auto place = static_cast<size_t>(std::max<std::ptrdiff_t>(next - bins.begin() - 1, 0));
    const PlotColumn& bin = bins[place];
    const double share = std::clamp((position - bin.begin) / (bin.end - bin.begin), 0.0, 1.0);
    return bytesBefore[place] + share * static_cast<double>(bin.sizes.sum);
}

double CPlotData::EvenWindow(double least) const
{
    if (total.keyCount == 0)
        return least;
    const double distance = Length() / static_cast<double>(total.keyCount);
    return distance * std::ceil(least / distance);
}

}  // namespace tool
