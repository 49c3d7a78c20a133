// Finds units that stand in the wrong order within an access unit, H.264 7.4.1.2.3 and H.265 7.4.2.4.4.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/StreamAnalysis.h"

#include <set>
#include <string>
#include <vector>

namespace tool {

struct OrderFinding
{
    uint64_t unit;  // its number
    uint64_t offset;
    std::string text;
};

class CUnitOrder
{
public:
    // Units in the order of the stream, with what the analysis took them for. A slice returns what was found
    // in the units that stand in front of it.
    std::vector<OrderFinding> Take(const NalUnit& unit, UnitRole role);

    // What is left at the end of the stream.
    std::vector<OrderFinding> Finish();

private:
    void TakeLeading(const NalUnit& unit);
    void TakeDelimiter(const NalUnit& unit);
    void TakeParameterSet(const NalUnit& unit);

    // Of the leading units since the last slice.
    std::vector<OrderFinding> present;    // those that may not stand between slices
    std::vector<OrderFinding> misplaced;  // those that stand wrong in front of a picture
    uint64_t leadingCount = 0;
    uint64_t firstUnit = 0;
    uint64_t firstOffset = 0;
    bool hasDelimiter = false;
    std::set<uint32_t> referredVps;
    std::set<uint32_t> referredSps;
};

}  // namespace tool
