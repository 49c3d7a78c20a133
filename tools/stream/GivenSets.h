// Parameter sets that are in a file of their own, for a stream that lacks them.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"

#include <string>
#include <vector>

namespace tool {

// The VPS, SPS and PPS units of a byte stream, with start codes. Throws CToolError, also if there are none or
// they are of the other codec.
std::vector<std::vector<unsigned char>> ReadGivenSets(const std::string& path, VideoCodecType codec);

}  // namespace tool
