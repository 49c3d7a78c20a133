// Prints what `fix` changes.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>

namespace tool {

struct MarkChange
{
    std::shared_ptr<const Sample> sample;
    TimeBase timeBase;
    bool isKey = false;  // the new mark
};

class CFixReport : public CReport
{
public:
    virtual void Add(const MarkChange& change) = 0;
    virtual void End(uint64_t changes) = 0;
};

std::unique_ptr<CFixReport> MakeFixReport(const ReportStyle& style);

}  // namespace tool
