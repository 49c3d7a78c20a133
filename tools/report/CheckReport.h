// Prints what `check` finds.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>
#include <optional>

namespace tool {

enum class FindingPlace
{
    Unit,        // a NAL unit
    AccessUnit,  // an access unit
    Sample,      // a sample of a container
    Stream,      // no single place
};

struct Finding
{
    FindingPlace place = FindingPlace::Stream;
    uint64_t number = 0;                 // of the unit, access unit or sample
    std::optional<uint64_t> offset;      // in the stream; of a sample, in the file
    std::string text;                    // what was found
    std::string expected = {};           // instead of it; empty: nothing is to be there
    std::optional<double> seconds = {};  // when the sample is presented
};

struct CheckSummary
{
    uint64_t accessUnits = 0;
    uint64_t findings = 0;
};

class CCheckReport : public CReport
{
public:
    virtual void Add(const Finding& finding) = 0;
    virtual void End(const CheckSummary& summary) = 0;
};

std::unique_ptr<CCheckReport> MakeCheckReport(const ReportStyle& style);
std::unique_ptr<CCheckReport> MakeCheckJson(const ReportStyle& style);

}  // namespace tool
