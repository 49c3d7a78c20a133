// Last, least, mean, greatest and 99th percentile of any number of latencies, in memory of fixed size.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <array>

namespace gstvp {

class CLatencyStatistics
{
public:
    void Add(gint64 nanoseconds);

    guint64 Count() const { return count; }
    // The others are valid if Count() is not 0.
    gint64 Last() const { return last; }
    gint64 Min() const { return min; }
    gint64 Max() const { return max; }
    gint64 Mean() const;
    // At most 1/64 above the exact value.
    gint64 Percentile99() const;

private:
    // Values below 64 have a bin each. Above, each power of two is divided into 64 bins of equal width.
    // Negative values, which clocks that differ cause, share the first bin.
    static constexpr guint BinsPerPowerOfTwo = 64;
    static constexpr guint BinCount = (1 + 57) * BinsPerPowerOfTwo;

    static guint BinOf(gint64 nanoseconds);
    static gint64 GreatestOf(guint bin);

    std::array<guint64, BinCount> bins{};
    guint64 count = 0;
    gint64 last = 0;
    gint64 min = 0;
    gint64 max = 0;
    double mean = 0;
};

}  // namespace gstvp
