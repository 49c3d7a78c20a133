// The commands of the tool. Each returns the status to end with, or throws CToolError.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "commands/Files.h"

#include "videoparams/timestamp.h"

#include <optional>

namespace tool {

struct InfoOptions
{
    InputOptions input;
    bool listsUnits = false;
    bool isJson = false;
    std::string plotFile;
    bool force = false;  // the plot may replace a file of any kind
};

struct UnitsOptions
{
    InputOptions input;
    bool isJson = false;
};

struct ParamsOptions
{
    InputOptions input;
    bool isJson = false;
    std::string outputFile;
    bool force = false;  // the output may replace a file of any kind; so for the following ones
};

struct CheckOptions
{
    InputOptions input;
    bool isJson = false;
};

struct InspectOptions
{
    SourceOptions source;
    std::string outputFile;    // empty: named after the file
    std::string pageFile;      // the built page; empty: the one that is installed
    bool staysClosed = false;  // the page is not opened
    bool force = false;
};

struct FixOptions
{
    SourceOptions source;
    bool isJson = false;
    std::string outputFile;
    bool force = false;
};

enum class Where
{
    First,
    All,
    Key
};

struct UserDataAddOptions
{
    SourceOptions source;
    // One of the three is given.
    std::optional<std::string> text;
    std::string dataFile;
    std::optional<VideoParamsClock> timestamp;
    Where where = Where::First;
    bool replaces = false;  // the library's messages of the same access unit
    bool isJson = false;
    std::string outputFile;
    bool force = false;
};

struct UserDataGetOptions
{
    InputOptions input;
    bool isJson = false;
    std::string outputFile;  // for the bytes alone
    bool force = false;
};

struct UserDataListOptions
{
    InputOptions input;
    bool isJson = false;
};

struct UserDataRemoveOptions
{
    SourceOptions source;
    bool removesAll = false;
    std::optional<std::vector<unsigned char>> identifier;  // the library's if it is not given
    bool isJson = false;
    std::string outputFile;
    bool force = false;
};

Status RunInfo(const InfoOptions& options);
Status RunUnits(const UnitsOptions& options);
Status RunParams(const ParamsOptions& options);
Status RunCheck(const CheckOptions& options);
Status RunInspect(const InspectOptions& options);
Status RunFix(const FixOptions& options);
Status RunUserDataAdd(const UserDataAddOptions& options);
Status RunUserDataGet(const UserDataGetOptions& options);
Status RunUserDataList(const UserDataListOptions& options);
Status RunUserDataRemove(const UserDataRemoveOptions& options);

}  // namespace tool
