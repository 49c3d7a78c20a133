// Finds units in the wrong order within an access unit, H.264 7.4.1.2.3 and H.265 7.4.2.4.4.
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
    // Units in the order of the stream, with their roles in the analysis. A slice returns what was found in
    // the units before it.
    std::vector<OrderFinding> Take(const NalUnit& unit, UnitRole role);

    // What is left at the end of the stream.
    std::vector<OrderFinding> Finish();

private:
    // The leading units since the last slice.
    struct LeadingUnits
    {
        std::vector<OrderFinding> present;    // units that may not be between slices
        std::vector<OrderFinding> misplaced;  // units in the wrong order before a picture
        uint64_t count = 0;
        uint64_t firstUnit = 0;
        uint64_t firstOffset = 0;
        bool hasDelimiter = false;
        std::set<uint32_t> neededVps;  // referred to, but not sent so far
        std::set<uint32_t> neededSps;
    };

    void TakeLeading(const NalUnit& unit);
    void TakeDelimiter(const NalUnit& unit);
    void TakeParameterSet(const NalUnit& unit);

    LeadingUnits leading;
    std::set<uint32_t> sentVps;  // since the start of the stream
    std::set<uint32_t> sentSps;
};

}  // namespace tool
