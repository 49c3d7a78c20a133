// The syntax structures of H.264 (ITU-T H.264 7.3) that the tool describes: more of them than the analysis of
// the library reads. Each function returns nothing if the structure is cut short.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/ElementReader.h"

#include <optional>

namespace tool {

struct AvcSps
{
    uint32_t profile_idc = 0;
    uint32_t constraint_flags = 0;  // constraint_set0_flag … constraint_set5_flag in bits 7 to 2
    uint32_t level_idc = 0;
    uint32_t seq_parameter_set_id = 0;
    uint32_t chroma_format_idc = 1;
    bool separate_colour_plane_flag = false;
    uint32_t bit_depth_luma_minus8 = 0;
    uint32_t bit_depth_chroma_minus8 = 0;
    uint32_t log2_max_frame_num_minus4 = 0;
    uint32_t pic_order_cnt_type = 0;
    uint32_t log2_max_pic_order_cnt_lsb_minus4 = 0;
    bool delta_pic_order_always_zero_flag = false;
    uint32_t max_num_ref_frames = 0;
    bool gaps_in_frame_num_value_allowed_flag = false;
    bool frame_mbs_only_flag = false;
    bool mb_adaptive_frame_field_flag = false;
};

struct AvcPps
{
    uint32_t pic_parameter_set_id = 0;
    uint32_t seq_parameter_set_id = 0;
    bool entropy_coding_mode_flag = false;
    bool bottom_field_pic_order_in_frame_present_flag = false;
    uint32_t num_ref_idx_l0_default_active_minus1 = 0;
    uint32_t num_ref_idx_l1_default_active_minus1 = 0;
    bool weighted_pred_flag = false;
    uint32_t weighted_bipred_idc = 0;
    bool redundant_pic_cnt_present_flag = false;
};

struct AvcSliceHeader
{
    uint32_t nal_unit_type = 0;
    uint32_t nal_ref_idc = 0;
    uint32_t first_mb_in_slice = 0;
    uint32_t slice_type = 0;
    uint32_t pic_parameter_set_id = 0;
    uint32_t frame_num = 0;
    bool field_pic_flag = false;
    bool bottom_field_flag = false;
    bool hasOperation5 = false;  // memory_management_control_operation 5
};

std::optional<AvcSps> ReadAvcSps(CElementReader& bits);
std::optional<AvcPps> ReadAvcPps(CElementReader& bits);

// The first three elements, which need no parameter set.
AvcSliceHeader ReadAvcSliceStart(const NalUnit& unit, CElementReader& bits);

// slice_header() up to dec_ref_pic_marking()
std::optional<AvcSliceHeader> ReadAvcSliceHeader(const NalUnit& unit, const AvcSps& sps, const AvcPps& pps,
                                                 CElementReader& bits);

}  // namespace tool
