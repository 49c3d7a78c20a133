// The commands of the tool. Each returns the status to end with, or throws CToolError.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"
#include "io/ToolError.h"

#include <optional>
#include <string>

namespace tool {

struct InfoOptions
{
    std::string file;
    std::optional<VideoCodecType> codec;
    bool listsUnits = false;
    bool isJson = false;
    std::string plotFile;
};

struct UnitsOptions
{
    std::string file;
    std::optional<VideoCodecType> codec;
    bool isJson = false;
};

struct ParamsOptions
{
    std::string file;
    std::optional<VideoCodecType> codec;
    std::string outputFile;
};

struct CheckOptions
{
    std::string file;
    std::optional<VideoCodecType> codec;
};

enum class Where
{
    First,
    All,
    Key
};

struct UserDataOptions
{
    std::string file;
    std::optional<VideoCodecType> codec;
    std::optional<std::string> text;
    std::string dataFile;
    Where where = Where::First;
    std::string outputFile;
};

Status RunInfo(const InfoOptions& options);
Status RunUnits(const UnitsOptions& options);
Status RunParams(const ParamsOptions& options);
Status RunCheck(const CheckOptions& options);
Status RunUserDataAdd(const UserDataOptions& options);
Status RunUserDataGet(const UserDataOptions& options);
Status RunUserDataRemove(const UserDataOptions& options);

}  // namespace tool
