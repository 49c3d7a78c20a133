// Detects what a file is by its first bytes.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace tool {

// How well the units at the start of a file fit each codec: above 0 if they fit, below 0 if they do not.
struct CodecRating
{
    int avc = 0;
    int hevc = 0;

    int Of(VideoCodecType codec) const { return codec == VideoCodecAVC ? avc : hevc; }

    // The codec that fits better, if one fits at all.
    std::optional<VideoCodecType> Best() const;

    // More bytes would not change the result.
    bool IsCertain() const;
};

CodecRating RateCodecs(const unsigned char* data, size_t size);

// Whether a file that starts with these bytes is an H.264 or H.265 byte stream.
bool LooksLikeByteStream(std::string_view start);

// The same, with parameter sets only.
bool LooksLikeParameterSets(std::string_view start);

// Whether it is a byte stream or a container of video.
bool LooksLikeVideoFile(std::string_view start);

}  // namespace tool
