// Which muxer writes a copy of an input, and with which options.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/container/ContainerInput.h"

#include <string>
#include <utility>
#include <vector>

namespace tool {

struct OutputFormat
{
    const AVOutputFormat* format = nullptr;
    std::vector<std::pair<std::string, std::string>> options;

    AVDictionary* Options() const;  // the caller frees it
};

// Throws CToolError if libavformat cannot write the format of the input, or if the name of the output says
// another one.
OutputFormat ChooseOutputFormat(CContainerInput& input, const std::string& path);

// Streams that the muxer makes itself, from chapters or a timecode in the metadata.
bool IsMadeByMuxer(const AVFormatContext& from, const AVStream& stream);

// The format can store the stream under the name that it has in the input.
bool TakesTag(const AVOutputFormat& format, const AVCodecParameters& parameters);

}  // namespace tool
