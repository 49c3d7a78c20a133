#pragma once

#include "streams/Vui.h"

#include <string>
#include <vector>

namespace videoparams::streams {

// What profile_tier_level() codes for one of the lower sub-layers.
struct HevcSubLayer
{
    bool hasProfile = false;
    bool hasLevel = false;
};

// video_parameter_set_rbsp(). Marks: "timing".
struct HevcVps
{
    std::vector<HevcSubLayer> subLayers{};  // vps_max_sub_layers_minus1 of them
    uint32_t sub_layer_ordering_info_present_flag = 1;
    uint32_t vps_max_layer_id = 0;
    uint32_t vps_num_layer_sets_minus1 = 0;
    std::optional<Timing> timing{};

    void WriteTo(BitWriter& writer) const;
    Bytes Write() const;
};

// st_ref_pic_set(): its pictures, or the flags of a prediction from the previous set, one letter a flag pair.
struct HevcRefPicSet
{
    uint32_t num_negative_pics = 0;
    uint32_t num_positive_pics = 0;
    std::string predicted{};  // u: used_by_curr_pic_flag; d: use_delta_flag alone; -: neither
};

struct HevcVui
{
    VideoDescription description{};
    std::optional<Window> defaultDisplayWindow{};
    std::optional<Timing> timing{};
};

enum class HevcScalingLists
{
    Absent,     // scaling_list_enabled_flag 0
    Default,    // enabled, without data
    Predicted,  // every list refers to another
    Coded,      // every list has its coefficients
};

// seq_parameter_set_rbsp(). Marks: "size", "colour", "timing".
struct HevcSps
{
    std::vector<HevcSubLayer> subLayers{};  // sps_max_sub_layers_minus1 of them
    uint32_t sub_layer_ordering_info_present_flag = 1;
    uint32_t sps_seq_parameter_set_id = 0;
    uint32_t chroma_format_idc = 1;
    uint32_t pic_width_in_luma_samples = 416;
    uint32_t pic_height_in_luma_samples = 240;
    std::optional<Window> conformanceWindow{};
    uint32_t log2_max_pic_order_cnt_lsb_minus4 = 4;
    HevcScalingLists scalingLists = HevcScalingLists::Absent;
    bool pcm = false;
    std::vector<HevcRefPicSet> refPicSets{};
    std::vector<uint32_t> lt_ref_pic_poc_lsb_sps{};
    std::optional<HevcVui> vui{};

    void WriteTo(BitWriter& writer) const;
    Bytes Write() const;
};

// slice_segment_header() and slice data.
struct HevcSlice
{
    uint32_t nal_unit_type = 1;
    uint32_t first_slice_segment_in_pic_flag = 1;
    uint32_t slice_pic_order_cnt_lsb = 0;
    Bytes sliceData = {0xB5, 0x6A};

    Bytes Write(uint32_t nuh_layer_id = 0) const;
};

Bytes HevcPps();
Bytes HevcDelimiter();
Bytes HevcSei(const Bytes& messages = {1, 1, 0x2A});  // prefix

}  // namespace videoparams::streams
