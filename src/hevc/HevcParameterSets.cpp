#include "hevc/HevcParameterSets.h"

#include <algorithm>

namespace videoparams {

namespace {

constexpr uint32_t MaxShortTermRefPicSets = 64;  // H.265 7.4.3.2.1

// The 88 bits that the general part and every sub-layer with a profile have.
void SkipProfile(CBitReader& bits)
{
    bits.Bits(2);   // profile_space
    bits.Bits(1);   // tier_flag
    bits.Bits(5);   // profile_idc
    bits.Bits(32);  // profile_compatibility_flag[ j ]
    bits.Bits(1);   // progressive_source_flag
    bits.Bits(1);   // interlaced_source_flag
    bits.Bits(1);   // non_packed_constraint_flag
    bits.Bits(1);   // frame_only_constraint_flag
    bits.Bits(43);  // constraint flags by profile, and reserved bits
    bits.Bits(1);   // inbld_flag or a reserved bit
}

// profile_tier_level( 1, maxNumSubLayersMinus1 ), H.265 7.3.3
void SkipProfileTierLevel(CBitReader& bits, uint32_t maxNumSubLayersMinus1)
{
    uint32_t sub_layer_profile_present_flag[8] = {};
    uint32_t sub_layer_level_present_flag[8] = {};

    SkipProfile(bits);
    bits.Bits(8);  // general_level_idc
    for (uint32_t i = 0; i < maxNumSubLayersMinus1 && !bits.PastEnd(); ++i) {
        sub_layer_profile_present_flag[i] = bits.Bits(1);
        sub_layer_level_present_flag[i] = bits.Bits(1);
    }
    if (maxNumSubLayersMinus1 > 0) {
        for (uint32_t i = maxNumSubLayersMinus1; i < 8; ++i)
            bits.Bits(2);  // reserved_zero_2bits[ i ]
    }
    for (uint32_t i = 0; i < maxNumSubLayersMinus1 && !bits.PastEnd(); ++i) {
        if (sub_layer_profile_present_flag[i])
            SkipProfile(bits);
        if (sub_layer_level_present_flag[i])
            bits.Bits(8);  // sub_layer_level_idc[ i ]
    }
}

void SkipSubLayerOrdering(CBitReader& bits, uint32_t max_sub_layers_minus1)
{
    const uint32_t sub_layer_ordering_info_present_flag = bits.Bits(1);
    for (uint32_t i = sub_layer_ordering_info_present_flag ? 0 : max_sub_layers_minus1;
         i <= max_sub_layers_minus1 && !bits.PastEnd(); ++i) {
        bits.Ue();  // max_dec_pic_buffering_minus1[ i ]
        bits.Ue();  // max_num_reorder_pics[ i ]
        bits.Ue();  // max_latency_increase_plus1[ i ]
    }
}

void SkipLayerSets(CBitReader& bits)
{
    const uint32_t vps_max_layer_id = bits.Bits(6);
    const uint32_t vps_num_layer_sets_minus1 = bits.Ue();
    for (uint32_t i = 1; i <= vps_num_layer_sets_minus1 && !bits.PastEnd(); ++i) {
        for (uint32_t j = 0; j <= vps_max_layer_id && !bits.PastEnd(); ++j)
            bits.Bits(1);  // layer_id_included_flag[ i ][ j ]
    }
}

// num_units_in_tick and time_scale, the same in VPS and VUI
void ReadTiming(CBitReader& bits, SequenceInfo& info)
{
    const uint32_t num_units_in_tick = bits.Bits(32);
    const uint32_t time_scale = bits.Bits(32);

    if (bits.PastEnd())
        return;
    info.frameRateNumerator = time_scale;
    info.frameRateDenominator = num_units_in_tick;
}

// Chroma format, size and conformance window. False: cut short, and nothing written.
bool ReadPictureSize(CBitReader& bits, SequenceInfo& info)
{
    uint32_t conf_win_left_offset = 0;
    uint32_t conf_win_right_offset = 0;
    uint32_t conf_win_top_offset = 0;
    uint32_t conf_win_bottom_offset = 0;

    const uint32_t chroma_format_idc = bits.Ue();
    if (chroma_format_idc == 3)
        bits.Bits(1);  // separate_colour_plane_flag
    const uint32_t pic_width_in_luma_samples = bits.Ue();
    const uint32_t pic_height_in_luma_samples = bits.Ue();
    const uint32_t conformance_window_flag = bits.Bits(1);
    if (conformance_window_flag) {
        conf_win_left_offset = bits.Ue();
        conf_win_right_offset = bits.Ue();
        conf_win_top_offset = bits.Ue();
        conf_win_bottom_offset = bits.Ue();
    }

    if (bits.PastEnd())
        return false;
    const CroppingUnit unit = ChromaSubsampling(chroma_format_idc);
    info.width =
        CroppedSize(pic_width_in_luma_samples, unit.width, conf_win_left_offset, conf_win_right_offset);
    info.height =
        CroppedSize(pic_height_in_luma_samples, unit.height, conf_win_top_offset, conf_win_bottom_offset);
    return true;
}

void SkipScalingList(CBitReader& bits, uint32_t sizeId)
{
    const uint32_t coefNum = std::min<uint32_t>(64, uint32_t{1} << (4 + (sizeId << 1)));
    if (sizeId > 1)
        bits.Se();  // scaling_list_dc_coef_minus8[ sizeId − 2 ][ matrixId ]
    for (uint32_t i = 0; i < coefNum; ++i)
        bits.Se();  // scaling_list_delta_coef
}

// scaling_list_data(), H.265 7.3.4
void SkipScalingListData(CBitReader& bits)
{
    for (uint32_t sizeId = 0; sizeId < 4; ++sizeId) {
        for (uint32_t matrixId = 0; matrixId < 6; matrixId += sizeId == 3 ? 3 : 1) {
            const uint32_t scaling_list_pred_mode_flag = bits.Bits(1);
            if (scaling_list_pred_mode_flag)
                SkipScalingList(bits, sizeId);
            else
                bits.Ue();  // scaling_list_pred_matrix_id_delta[ sizeId ][ matrixId ]
        }
    }
}

void SkipPcm(CBitReader& bits)
{
    bits.Bits(4);  // pcm_sample_bit_depth_luma_minus1
    bits.Bits(4);  // pcm_sample_bit_depth_chroma_minus1
    bits.Ue();     // log2_min_pcm_luma_coding_block_size_minus3
    bits.Ue();     // log2_diff_max_min_pcm_luma_coding_block_size
    bits.Bits(1);  // pcm_loop_filter_disabled_flag
}

// st_ref_pic_set( stRpsIdx ), H.265 7.3.7; delta_idx_minus1 is coded in slice headers only. An
// inter-predicted set counts its flags, whatever deltas they mean.
void SkipShortTermRefPicSet(CBitReader& bits, uint32_t stRpsIdx,
                            uint64_t (&NumDeltaPocs)[MaxShortTermRefPicSets])
{
    uint32_t inter_ref_pic_set_prediction_flag = 0;
    if (stRpsIdx != 0)
        inter_ref_pic_set_prediction_flag = bits.Bits(1);
    if (inter_ref_pic_set_prediction_flag) {
        bits.Bits(1);  // delta_rps_sign
        bits.Ue();     // abs_delta_rps_minus1
        for (uint64_t j = 0; j <= NumDeltaPocs[stRpsIdx - 1] && !bits.PastEnd(); ++j) {
            const uint32_t used_by_curr_pic_flag = bits.Bits(1);
            uint32_t use_delta_flag = 1;
            if (!used_by_curr_pic_flag)
                use_delta_flag = bits.Bits(1);
            if (used_by_curr_pic_flag || use_delta_flag)
                ++NumDeltaPocs[stRpsIdx];
        }
        return;
    }
    const uint32_t num_negative_pics = bits.Ue();
    const uint32_t num_positive_pics = bits.Ue();
    for (uint32_t i = 0; i < num_negative_pics && !bits.PastEnd(); ++i) {
        bits.Ue();     // delta_poc_s0_minus1[ i ]
        bits.Bits(1);  // used_by_curr_pic_s0_flag[ i ]
    }
    for (uint32_t i = 0; i < num_positive_pics && !bits.PastEnd(); ++i) {
        bits.Ue();     // delta_poc_s1_minus1[ i ]
        bits.Bits(1);  // used_by_curr_pic_s1_flag[ i ]
    }
    NumDeltaPocs[stRpsIdx] = uint64_t{num_negative_pics} + num_positive_pics;
}

// False: more sets than the standard has, and no way to go on.
bool SkipShortTermRefPicSets(CBitReader& bits)
{
    uint64_t NumDeltaPocs[MaxShortTermRefPicSets] = {};

    const uint32_t num_short_term_ref_pic_sets = bits.Ue();
    if (num_short_term_ref_pic_sets > MaxShortTermRefPicSets)
        return false;
    for (uint32_t i = 0; i < num_short_term_ref_pic_sets && !bits.PastEnd(); ++i)
        SkipShortTermRefPicSet(bits, i, NumDeltaPocs);
    return true;
}

void SkipLongTermRefPics(CBitReader& bits, uint32_t log2_max_pic_order_cnt_lsb_minus4)
{
    const uint32_t num_long_term_ref_pics_sps = bits.Ue();
    for (uint32_t i = 0; i < num_long_term_ref_pics_sps && !bits.PastEnd(); ++i) {
        bits.Bits(BitsOf(log2_max_pic_order_cnt_lsb_minus4));  // lt_ref_pic_poc_lsb_sps[ i ]
        bits.Bits(1);                                          // used_by_curr_pic_lt_sps_flag[ i ]
    }
}

// vui_parameters(), H.265 E.2.1, up to vui_time_scale
void ReadVui(CBitReader& bits, SequenceInfo& info)
{
    ReadVideoDescription(bits, info);
    bits.Bits(1);  // neutral_chroma_indication_flag
    bits.Bits(1);  // field_seq_flag
    bits.Bits(1);  // frame_field_info_present_flag
    const uint32_t default_display_window_flag = bits.Bits(1);
    if (default_display_window_flag) {
        bits.Ue();  // def_disp_win_left_offset
        bits.Ue();  // def_disp_win_right_offset
        bits.Ue();  // def_disp_win_top_offset
        bits.Ue();  // def_disp_win_bottom_offset
    }
    const uint32_t vui_timing_info_present_flag = bits.Bits(1);
    if (vui_timing_info_present_flag)
        ReadTiming(bits, info);
}

}  // namespace

// video_parameter_set_rbsp(), H.265 7.3.2.1, up to its timing information
void ReadHevcVps(CBitReader& bits, SequenceInfo& info)
{
    bits.Bits(4);  // vps_video_parameter_set_id
    bits.Bits(1);  // vps_base_layer_internal_flag
    bits.Bits(1);  // vps_base_layer_available_flag
    bits.Bits(6);  // vps_max_layers_minus1
    const uint32_t vps_max_sub_layers_minus1 = bits.Bits(3);
    bits.Bits(1);   // vps_temporal_id_nesting_flag
    bits.Bits(16);  // vps_reserved_0xffff_16bits
    SkipProfileTierLevel(bits, vps_max_sub_layers_minus1);
    SkipSubLayerOrdering(bits, vps_max_sub_layers_minus1);
    SkipLayerSets(bits);
    const uint32_t vps_timing_info_present_flag = bits.Bits(1);
    if (vps_timing_info_present_flag)
        ReadTiming(bits, info);
}

// seq_parameter_set_rbsp(), H.265 7.3.2.2, up to the timing information of the VUI
void ReadHevcSps(CBitReader& bits, SequenceInfo& info)
{
    bits.Bits(4);  // sps_video_parameter_set_id
    const uint32_t sps_max_sub_layers_minus1 = bits.Bits(3);
    bits.Bits(1);  // sps_temporal_id_nesting_flag
    SkipProfileTierLevel(bits, sps_max_sub_layers_minus1);
    bits.Ue();  // sps_seq_parameter_set_id
    if (!ReadPictureSize(bits, info))
        return;
    info.sequenceInfoValid = 1;

    bits.Ue();  // bit_depth_luma_minus8
    bits.Ue();  // bit_depth_chroma_minus8
    const uint32_t log2_max_pic_order_cnt_lsb_minus4 = bits.Ue();
    SkipSubLayerOrdering(bits, sps_max_sub_layers_minus1);
    bits.Ue();  // log2_min_luma_coding_block_size_minus3
    bits.Ue();  // log2_diff_max_min_luma_coding_block_size
    bits.Ue();  // log2_min_luma_transform_block_size_minus2
    bits.Ue();  // log2_diff_max_min_luma_transform_block_size
    bits.Ue();  // max_transform_hierarchy_depth_inter
    bits.Ue();  // max_transform_hierarchy_depth_intra
    const uint32_t scaling_list_enabled_flag = bits.Bits(1);
    if (scaling_list_enabled_flag) {
        const uint32_t sps_scaling_list_data_present_flag = bits.Bits(1);
        if (sps_scaling_list_data_present_flag)
            SkipScalingListData(bits);
    }
    bits.Bits(1);  // amp_enabled_flag
    bits.Bits(1);  // sample_adaptive_offset_enabled_flag
    const uint32_t pcm_enabled_flag = bits.Bits(1);
    if (pcm_enabled_flag)
        SkipPcm(bits);
    if (!SkipShortTermRefPicSets(bits))
        return;
    const uint32_t long_term_ref_pics_present_flag = bits.Bits(1);
    if (long_term_ref_pics_present_flag)
        SkipLongTermRefPics(bits, log2_max_pic_order_cnt_lsb_minus4);
    bits.Bits(1);  // sps_temporal_mvp_enabled_flag
    bits.Bits(1);  // strong_intra_smoothing_enabled_flag
    const uint32_t vui_parameters_present_flag = bits.Bits(1);
    if (vui_parameters_present_flag)
        ReadVui(bits, info);
}

}  // namespace videoparams
