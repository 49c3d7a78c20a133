#pragma once

#include "analysis/SequenceInfo.h"
#include "bitstream/BitReader.h"

#include <cstdint>

namespace videoparams {

// What slice headers need of a sequence parameter set.
struct SpsRecord
{
    uint32_t seq_parameter_set_id;
    uint32_t separate_colour_plane_flag;
    uint32_t log2_max_frame_num_minus4;
    uint32_t pic_order_cnt_type;
    uint32_t log2_max_pic_order_cnt_lsb_minus4;
    uint32_t delta_pic_order_always_zero_flag;
    uint32_t frame_mbs_only_flag;
    uint32_t gaps_in_frame_num_value_allowed_flag;
};

// What slice headers need of a picture parameter set.
struct PpsRecord
{
    uint32_t pic_parameter_set_id;
    uint32_t seq_parameter_set_id;
    uint32_t bottom_field_pic_order_in_frame_present_flag;
};

constexpr uint32_t MaxSpsCount = 32;   // H.264 7.4.2.1.1
constexpr uint32_t MaxPpsCount = 256;  // H.264 7.4.2.2

// The bits come after the unit header. False: cut short, or an identifier out of range; nothing is written.
// An SPS that is cut short in its VUI is valid up to there.
bool ReadAvcSps(CBitReader& bits, SpsRecord& record, SequenceInfo& info);
bool ReadAvcPps(CBitReader& bits, PpsRecord& record);

}  // namespace videoparams
