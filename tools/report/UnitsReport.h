// Prints the NAL units that `units` lists.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>

namespace tool {

struct SliceMeasure
{
    bool isSlice = false;
    int32_t slice_type = -1;             // H.264; -1: not read
    unsigned int sliceHeaderLength = 0;  // H.264; 0: not read
    bool lacksSets = false;              // H.264: its parameter sets are unknown
};

class CUnitsReport : public CReport
{
public:
    virtual void Add(const NalUnit& unit, const SliceMeasure& measure) = 0;
    virtual void End(const SourceCounts& counts, uint64_t damagedUnits) = 0;
};

std::unique_ptr<CUnitsReport> MakeUnitsReport(const ReportStyle& style);
std::unique_ptr<CUnitsReport> MakeUnitsJson(const ReportStyle& style);

}  // namespace tool
