#pragma once

#include "streams/Vui.h"

#include <vector>

namespace videoparams::streams {

struct AvcVui
{
    VideoDescription description{};
    std::optional<Timing> timing{};
};

// seq_parameter_set_rbsp(). Marks: "size", "colour", "timing".
struct AvcSps
{
    uint32_t profile_idc = 77;
    uint32_t seq_parameter_set_id = 0;
    uint32_t chroma_format_idc = 1;  // this and the next two are written for profile_idc 100 and the like
    uint32_t separate_colour_plane_flag = 0;
    std::vector<std::vector<int32_t>> scalingLists{};  // the delta_scale of each; an empty one is not present
    uint32_t log2_max_frame_num_minus4 = 0;
    uint32_t pic_order_cnt_type = 0;
    uint32_t log2_max_pic_order_cnt_lsb_minus4 = 0;
    uint32_t delta_pic_order_always_zero_flag = 0;
    std::vector<int32_t> offset_for_ref_frame{};
    uint32_t gaps_in_frame_num_value_allowed_flag = 0;
    uint32_t pic_width_in_mbs_minus1 = 9;
    uint32_t pic_height_in_map_units_minus1 = 5;
    uint32_t frame_mbs_only_flag = 1;
    std::optional<Window> cropping{};
    std::optional<AvcVui> vui{};

    void WriteTo(BitWriter& writer) const;
    Bytes Write() const;
};

// pic_parameter_set_rbsp(). Marks: "read", after what slice headers need.
struct AvcPps
{
    uint32_t pic_parameter_set_id = 0;
    uint32_t seq_parameter_set_id = 0;
    uint32_t bottom_field_pic_order_in_frame_present_flag = 0;

    void WriteTo(BitWriter& writer) const;
    Bytes Write() const;
};

// slice_header() and slice data. Marks: "read", after the picture order count.
struct AvcSlice
{
    uint32_t nal_unit_type = 1;  // 2: partition A
    uint32_t nal_ref_idc = 1;
    uint32_t first_mb_in_slice = 0;
    uint32_t slice_type = 7;
    uint32_t pic_parameter_set_id = 0;
    uint32_t colour_plane_id = 0;
    uint32_t frame_num = 0;
    uint32_t field_pic_flag = 0;
    uint32_t bottom_field_flag = 0;
    uint32_t idr_pic_id = 0;
    uint32_t pic_order_cnt_lsb = 0;
    int32_t delta_pic_order_cnt_bottom = 0;
    int32_t delta_pic_order_cnt[2] = {0, 0};
    uint32_t memory_management_control_operation = 0;  // of a slice that is no IDR slice; without parameters
    Bytes sliceData = {0xB5, 0x6A};

    void WriteTo(BitWriter& writer, const AvcSps& sps = {}, const AvcPps& pps = {}) const;
    Bytes Write(const AvcSps& sps = {}, const AvcPps& pps = {}) const;
};

Bytes AvcDelimiter();
Bytes AvcSei(const Bytes& messages = {1, 1, 0x2A});

}  // namespace videoparams::streams
