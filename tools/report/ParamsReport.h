// Prints the parameter sets that `params` shows.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>
#include <vector>

namespace tool {

// A parameter set with new contents.
struct ParameterSetEvent
{
    std::string kind;  // "VPS", "SPS" or "PPS"
    uint32_t id = 0;
    uint64_t unit = 0;  // its number
    uint64_t offset = 0;
    std::vector<unsigned char> bytes;  // with start code, without zeros after it
    bool isChange = false;             // an earlier one has the same kind and identifier
};

struct ParameterSetSummary
{
    std::string kind;
    uint32_t id = 0;
    uint64_t count = 0;
    uint64_t changes = 0;
};

class CParamsReport : public CReport
{
public:
    virtual void Add(const ParameterSetEvent& event) = 0;
    virtual void End(const std::vector<ParameterSetSummary>& sets) = 0;
};

std::unique_ptr<CParamsReport> MakeParamsReport(const ReportStyle& style);
std::unique_ptr<CParamsReport> MakeParamsJson(const ReportStyle& style);

}  // namespace tool
