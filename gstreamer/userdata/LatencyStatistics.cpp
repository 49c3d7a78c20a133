#include "userdata/LatencyStatistics.h"

#include <algorithm>
#include <bit>

namespace gstvp {

void CLatencyStatistics::Add(gint64 nanoseconds)
{
    min = count == 0 ? nanoseconds : std::min(min, nanoseconds);
    max = count == 0 ? nanoseconds : std::max(max, nanoseconds);
    last = nanoseconds;
    ++count;
    mean += (static_cast<double>(nanoseconds) - mean) / static_cast<double>(count);
    ++bins[BinOf(nanoseconds)];
}

gint64 CLatencyStatistics::Mean() const
{
    constexpr double FirstTooLarge = 0x1p63;
    return mean < FirstTooLarge ? static_cast<gint64>(mean) : max;
}

gint64 CLatencyStatistics::Percentile99() const
{
    const guint64 rank = count - count / 100;
    guint64 seen = 0;
    guint bin = 0;
    while (bin < BinCount - 1 && seen + bins[bin] < rank)
        seen += bins[bin++];
    return std::clamp(GreatestOf(bin), min, max);
}

guint CLatencyStatistics::BinOf(gint64 nanoseconds)
{
    const auto value = static_cast<guint64>(std::max(nanoseconds, gint64{0}));
    if (value < BinsPerPowerOfTwo)
        return static_cast<guint>(value);
    const auto shift = static_cast<guint>(std::bit_width(value) - std::bit_width(BinsPerPowerOfTwo));
    return shift * BinsPerPowerOfTwo + static_cast<guint>(value >> shift);
}

gint64 CLatencyStatistics::GreatestOf(guint bin)
{
    if (bin < 2 * BinsPerPowerOfTwo)
        return bin;
    const guint shift = bin / BinsPerPowerOfTwo - 1;
    const guint64 firstOfNext = static_cast<guint64>(bin % BinsPerPowerOfTwo + BinsPerPowerOfTwo + 1)
                                << shift;
    return static_cast<gint64>(firstOfNext - 1);
}

}  // namespace gstvp
