// Prints the user data that `userdata get` and `userdata list` find.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <memory>
#include <vector>

namespace tool {

// user_data_unregistered(), H.264 D.1.7 and H.265 D.2.7
struct UserDataMessage
{
    uint64_t accessUnit = 0;
    uint64_t unit = 0;  // its number
    uint64_t offset = 0;
    std::vector<unsigned char>
        identifier;     // uuid_iso_iec_11578: 16 bytes, or none if the payload is too short
    std::string bytes;  // after the identifier
};

enum class UserDataView
{
    Contents,     // the messages of this program: what is in them
    Identifiers,  // all messages: who wrote them
};

class CUserDataReport : public CReport
{
public:
    virtual void Add(const UserDataMessage& message) = 0;
    virtual void End(uint64_t count) = 0;
};

std::unique_ptr<CUserDataReport> MakeUserDataReport(const ReportStyle& style, UserDataView view);
std::unique_ptr<CUserDataReport> MakeUserDataJson(const ReportStyle& style, UserDataView view);

}  // namespace tool
