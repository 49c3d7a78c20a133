// Draws access-unit sizes over time as an SVG picture.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/SizeHistory.h"

#include <optional>
#include <string>

namespace tool {

struct PlotText
{
    std::string title;
    std::string subtitle;
};

// With `seconds` the axis is time, else it counts access units.
std::string DrawSizes(const CSizeHistory& history, const PlotText& text, std::optional<double> seconds);

}  // namespace tool
