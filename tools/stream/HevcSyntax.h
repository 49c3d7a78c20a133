// The syntax structures of H.265 (ITU-T H.265 7.3) that the tool describes. Each function returns nothing if
// the structure is cut short.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/ElementReader.h"

#include <optional>

namespace tool {

struct HevcVps
{
    uint32_t vps_video_parameter_set_id = 0;
    uint32_t vps_max_layers_minus1 = 0;
    uint32_t vps_max_sub_layers_minus1 = 0;
};

struct HevcSps
{
    uint32_t sps_video_parameter_set_id = 0;
    uint32_t sps_max_sub_layers_minus1 = 0;
    uint32_t general_tier_flag = 0;
    uint32_t general_profile_idc = 0;
    uint32_t general_profile_compatibility_flags = 0;  // flag j in bit 31 - j
    bool general_progressive_source_flag = false;
    bool general_interlaced_source_flag = false;
    uint32_t general_level_idc = 0;
    uint32_t sps_seq_parameter_set_id = 0;
    uint32_t chroma_format_idc = 0;
    uint32_t bit_depth_luma_minus8 = 0;
    uint32_t bit_depth_chroma_minus8 = 0;
};

struct HevcPps
{
    uint32_t pps_pic_parameter_set_id = 0;
    uint32_t pps_seq_parameter_set_id = 0;
};

struct HevcSliceHeader
{
    bool first_slice_segment_in_pic_flag = false;
    uint32_t slice_pic_parameter_set_id = 0;
};

std::optional<HevcVps> ReadHevcVps(CElementReader& bits);
std::optional<HevcSps> ReadHevcSps(CElementReader& bits);  // of the base layer
uint32_t ReadHevcSpsId(CElementReader& bits);              // also of an SPS that is cut short after it
std::optional<HevcPps> ReadHevcPps(CElementReader& bits);
std::optional<HevcSliceHeader> ReadHevcSliceHeader(const NalUnit& unit, CElementReader& bits);

}  // namespace tool
