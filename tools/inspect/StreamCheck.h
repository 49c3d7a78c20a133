// Finds what is wrong within a stream: units that cannot be read or are in the wrong order, and reference
// pictures that are missing.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/CheckReport.h"
#include "stream/FrameContinuity.h"
#include "stream/UnitOrder.h"

namespace tool {

class CStreamCheck
{
public:
    // Units in the order of the stream, with what the analysis took them for.
    std::vector<Finding> Take(const NalUnit& unit, UnitRole role, const CStreamAnalysis& analysis);

    // What is left at the end of the stream.
    std::vector<Finding> Finish();

private:
    CUnitOrder order;
    CFrameContinuity continuity;
};

}  // namespace tool
