// What the reports of all commands have in common. A report is made once per call and prints the results of
// one file after the other: Begin, any number of Add, End. Text and JSON are two classes with one interface.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/UnitSource.h"

#include <string>

namespace tool {

struct ReportStyle
{
    bool isJson = false;
    bool hasSeveralFiles = false;  // then each result names its file
    bool isBesideResult = false;   // the standard output has an edited stream, so print on standard error
};

class CReport
{
public:
    virtual ~CReport() = default;

    virtual void Begin(const SourceFacts& facts) = 0;

    // Takes the place of End, or of Begin to End, for a file that could not be read to its end.
    virtual void Fail(const std::string& name, const std::string& message);

    // After the last file.
    virtual void Close() {}
};

}  // namespace tool
