// Recognises files that are not byte streams.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

namespace tool {

// What a file with these first bytes is, such as "an MP4 file"; "" if it is none of the known ones.
std::string_view FileFormatName(std::string_view start);

// Whether such a file can contain H.264 or H.265 video.
bool IsVideoContainer(std::string_view start);

}  // namespace tool
