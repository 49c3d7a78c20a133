// Commands that take several files.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/ToolError.h"
#include "report/Report.h"

#include <functional>
#include <string>
#include <vector>

namespace tool {

struct InputOptions
{
    std::vector<std::string> files;
    SourceOptions source;  // for each of them; without `file`

    bool HasSeveral() const { return files.size() > 1; }

    // All that the command reads.
    std::vector<std::string> Inputs() const
    {
        std::vector<std::string> inputs = files;
        inputs.push_back(source.setsFile);
        return inputs;
    }
};

// Runs a command on each file and closes the report. A file that fails is reported, and the next one is
// tried. Returns the worst status.
Status ForEachFile(const InputOptions& input, CReport& report,
                   const std::function<Status(const SourceOptions&)>& run);

// Complains about what is missing at the end of a container. Returns `status`, or StatusFound if that is
// worse.
Status ReportMissing(const CUnitSource& source, Status status);

// An output of one file makes no sense for several. Throws CToolError.
void RefuseSeveral(const InputOptions& input, const char* option);

}  // namespace tool
