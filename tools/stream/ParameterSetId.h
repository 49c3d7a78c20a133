// The kind of a parameter set, and the identifiers in it.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/NalUnit.h"

namespace tool {

// "VPS", "SPS" or "PPS"; null for other units.
const char* ParameterSetKind(const NalUnit& unit);

// vps_video_parameter_set_id, seq_parameter_set_id, sps_seq_parameter_set_id, pic_parameter_set_id or
// pps_pic_parameter_set_id; 0 when the unit is cut short.
uint32_t ReadParameterSetId(const NalUnit& unit);

// The identifier of the set that it refers to: a PPS to its SPS, an H.265 SPS to its VPS.
uint32_t ReadReferredId(const NalUnit& unit);

}  // namespace tool
