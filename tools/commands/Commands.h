// The commands of the tool. Each returns the status to end with, or throws CToolError.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/ToolError.h"
#include "stream/UnitSource.h"

#include <optional>
#include <string>

namespace tool {

struct InfoOptions
{
    SourceOptions source;
    bool listsUnits = false;
    bool isJson = false;
    std::string plotFile;
    bool force = false;  // the plot may replace a file of any kind
};

struct UnitsOptions
{
    SourceOptions source;
    bool isJson = false;
};

struct ParamsOptions
{
    SourceOptions source;
    bool isJson = false;
    std::string outputFile;
    bool force = false;  // the output may replace a file of any kind
};

struct CheckOptions
{
    SourceOptions source;
    bool isJson = false;
};

enum class Where
{
    First,
    All,
    Key
};

struct UserDataOptions
{
    SourceOptions source;
    std::optional<std::string> text;
    std::string dataFile;
    Where where = Where::First;
    std::string outputFile;
    bool force = false;  // the output may replace a file of any kind
};

Status RunInfo(const InfoOptions& options);
Status RunUnits(const UnitsOptions& options);
Status RunParams(const ParamsOptions& options);
Status RunCheck(const CheckOptions& options);
Status RunUserDataAdd(const UserDataOptions& options);
Status RunUserDataGet(const UserDataOptions& options);
Status RunUserDataRemove(const UserDataOptions& options);

}  // namespace tool
