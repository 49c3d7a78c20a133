// Tells H.264 from H.265 by the headers of the first units.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"

#include <cstddef>
#include <optional>
#include <string>

namespace tool {

// Nothing when the bytes look like neither.
std::optional<VideoCodecType> DetectCodec(const unsigned char* data, size_t size);

// What the bytes of a file that is no byte stream are taken for, such as "an MP4 file", or "".
std::string DetectContainer(const unsigned char* data, size_t size);

}  // namespace tool
