// Prints the user data that `userdata get` finds.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>

namespace tool {

struct UserDataMessage
{
    uint64_t accessUnit = 0;
    uint64_t offset = 0;  // of its unit
    std::string bytes;    // of the user
};

class CUserDataReport : public CReport
{
public:
    virtual void Add(const UserDataMessage& message) = 0;
    virtual void End(uint64_t count) = 0;
};

std::unique_ptr<CUserDataReport> MakeUserDataReport(const ReportStyle& style);

}  // namespace tool
