// Draws the sizes of access units over time as an SVG picture.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/SizeHistory.h"
#include "report/SvgPage.h"

#include <string>

namespace tool {

// If `isInSeconds`, the axis is time and every bin of the history has its seconds. Otherwise it counts access
// units.
std::string DrawSizes(const CSizeHistory& history, const PlotText& text, bool isInSeconds);

}  // namespace tool
