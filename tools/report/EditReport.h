// Prints what a command did to a stream.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>
#include <utility>
#include <vector>

namespace tool {

struct EditSummary
{
    std::string text;                                       // for people
    std::vector<std::pair<std::string, uint64_t>> numbers;  // for programs: names and values
};

class CEditReport : public CReport
{
public:
    virtual void End(const EditSummary& summary) = 0;
};

std::unique_ptr<CEditReport> MakeEditReport(const std::string& command, const ReportStyle& style);

}  // namespace tool
