// The standards' names of types.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"

#include <cstdint>
#include <string>

namespace tool {

const char* CodecName(VideoCodecType codec);

// The standard's name of a nal_unit_type.
std::string UnitTypeName(VideoCodecType codec, uint32_t nal_unit_type);

// The standard's name of an H.264 slice_type, or "" for an unknown value.
const char* SliceTypeName(int32_t slice_type);

}  // namespace tool
