// Round values for the axes of a plot.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

namespace tool {

struct Tick
{
    double value;
    std::string label;
};

struct Axis
{
    double end = 1;  // the axis runs from 0 to here
    std::string title;
    std::vector<Tick> ticks;
};

// Vertical axes have at most `steps` steps of 1, 2 or 5 times a power of ten, and end at a tick.
Axis SizeAxis(double largestBytes, double steps);
Axis MeanAxis(double largestBytes, double steps);
Axis BitRateAxis(double largestBytesPerSecond, double steps);

// The axis ends at `seconds`; minutes and hours have steps of their own.
Axis TimeAxis(double seconds);

// The axis ends at `count`.
Axis CountAxis(double count);

}  // namespace tool
