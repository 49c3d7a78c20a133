#include "analysis/SequenceInfo.h"
#include "hevc/ParseHEVCParams.h"

#include <algorithm>

namespace videoparams {

// video_parameter_set_rbsp(), H.265 7.3.2.1, up to its timing information
Result CParseHEVCParams::ReadVideoParameterSetData(VideoInfo* info)
{
    ReadData(4);  // vps_video_parameter_set_id
    ReadData(1);  // vps_base_layer_internal_flag
    ReadData(1);  // vps_base_layer_available_flag
    ReadData(6);  // vps_max_layers_minus1
    const uint32_t vps_max_sub_layers_minus1 = ReadData(3);
    ReadData(1);   // vps_temporal_id_nesting_flag
    ReadData(16);  // vps_reserved_0xffff_16bits
    SkipProfileTierLevel(vps_max_sub_layers_minus1);
    SkipSubLayerOrdering(vps_max_sub_layers_minus1);
    SkipLayerSets();
    const uint32_t vps_timing_info_present_flag = ReadData(1);
    if (vps_timing_info_present_flag)
        ReadTiming(*info);
    return ResultOk;
}

// profile_tier_level( 1, maxNumSubLayersMinus1 ), H.265 7.3.3
void CParseHEVCParams::SkipProfileTierLevel(uint32_t maxNumSubLayersMinus1)
{
    uint32_t sub_layer_profile_present_flag[8] = {};
    uint32_t sub_layer_level_present_flag[8] = {};

    SkipProfile();
    ReadData(8);  // general_level_idc
    for (uint32_t i = 0; i < maxNumSubLayersMinus1 && !readPastEnd; ++i) {
        sub_layer_profile_present_flag[i] = ReadData(1);
        sub_layer_level_present_flag[i] = ReadData(1);
    }
    if (maxNumSubLayersMinus1 > 0) {
        for (uint32_t i = maxNumSubLayersMinus1; i < 8; ++i)
            ReadData(2);  // reserved_zero_2bits[ i ]
    }
    for (uint32_t i = 0; i < maxNumSubLayersMinus1 && !readPastEnd; ++i) {
        if (sub_layer_profile_present_flag[i])
            SkipProfile();
        if (sub_layer_level_present_flag[i])
            ReadData(8);  // sub_layer_level_idc[ i ]
    }
}

// The 88 bits that the general part and every sub-layer with a profile have.
void CParseHEVCParams::SkipProfile()
{
    ReadData(2);   // profile_space
    ReadData(1);   // tier_flag
    ReadData(5);   // profile_idc
    ReadData(32);  // profile_compatibility_flag[ j ]
    ReadData(1);   // progressive_source_flag
    ReadData(1);   // interlaced_source_flag
    ReadData(1);   // non_packed_constraint_flag
    ReadData(1);   // frame_only_constraint_flag
    ReadData(43);  // constraint flags by profile, and reserved bits
    ReadData(1);   // inbld_flag or a reserved bit
}

void CParseHEVCParams::SkipSubLayerOrdering(uint32_t max_sub_layers_minus1)
{
    const uint32_t sub_layer_ordering_info_present_flag = ReadData(1);
    for (uint32_t i = sub_layer_ordering_info_present_flag ? 0 : max_sub_layers_minus1;
         i <= max_sub_layers_minus1 && !readPastEnd; ++i) {
        GetUE();  // max_dec_pic_buffering_minus1[ i ]
        GetUE();  // max_num_reorder_pics[ i ]
        GetUE();  // max_latency_increase_plus1[ i ]
    }
}

void CParseHEVCParams::SkipLayerSets()
{
    const uint32_t vps_max_layer_id = ReadData(6);
    const uint32_t vps_num_layer_sets_minus1 = GetUE();
    for (uint32_t i = 1; i <= vps_num_layer_sets_minus1 && !readPastEnd; ++i) {
        for (uint32_t j = 0; j <= vps_max_layer_id && !readPastEnd; ++j)
            ReadData(1);  // layer_id_included_flag[ i ][ j ]
    }
}

// num_units_in_tick and time_scale, the same in VPS and VUI
void CParseHEVCParams::ReadTiming(VideoInfo& info)
{
    const uint32_t num_units_in_tick = ReadData(32);
    const uint32_t time_scale = ReadData(32);

    if (readPastEnd)
        return;
    info.frameRateNumerator = time_scale;
    info.frameRateDenominator = num_units_in_tick;
}

// seq_parameter_set_rbsp(), H.265 7.3.2.2, up to the timing information of the VUI
Result CParseHEVCParams::ReadSequenceParameterSetData(VideoInfo* info)
{
    ReadData(4);  // sps_video_parameter_set_id
    const uint32_t sps_max_sub_layers_minus1 = ReadData(3);
    ReadData(1);  // sps_temporal_id_nesting_flag
    SkipProfileTierLevel(sps_max_sub_layers_minus1);
    GetUE();  // sps_seq_parameter_set_id
    if (!ReadPictureSize(*info))
        return ResultOk;
    info->sequenceInfoValid = 1;

    GetUE();  // bit_depth_luma_minus8
    GetUE();  // bit_depth_chroma_minus8
    const uint32_t log2_max_pic_order_cnt_lsb_minus4 = GetUE();
    SkipSubLayerOrdering(sps_max_sub_layers_minus1);
    GetUE();  // log2_min_luma_coding_block_size_minus3
    GetUE();  // log2_diff_max_min_luma_coding_block_size
    GetUE();  // log2_min_luma_transform_block_size_minus2
    GetUE();  // log2_diff_max_min_luma_transform_block_size
    GetUE();  // max_transform_hierarchy_depth_inter
    GetUE();  // max_transform_hierarchy_depth_intra
    const uint32_t scaling_list_enabled_flag = ReadData(1);
    if (scaling_list_enabled_flag) {
        const uint32_t sps_scaling_list_data_present_flag = ReadData(1);
        if (sps_scaling_list_data_present_flag)
            SkipScalingListData();
    }
    ReadData(1);  // amp_enabled_flag
    ReadData(1);  // sample_adaptive_offset_enabled_flag
    const uint32_t pcm_enabled_flag = ReadData(1);
    if (pcm_enabled_flag)
        SkipPcm();
    if (!SkipShortTermRefPicSets())
        return ResultOk;
    const uint32_t long_term_ref_pics_present_flag = ReadData(1);
    if (long_term_ref_pics_present_flag)
        SkipLongTermRefPics(log2_max_pic_order_cnt_lsb_minus4);
    ReadData(1);  // sps_temporal_mvp_enabled_flag
    ReadData(1);  // strong_intra_smoothing_enabled_flag
    const uint32_t vui_parameters_present_flag = ReadData(1);
    if (vui_parameters_present_flag)
        ReadVui(*info);
    return ResultOk;
}

// Chroma format, size and conformance window. False: cut short, and nothing written.
bool CParseHEVCParams::ReadPictureSize(VideoInfo& info)
{
    uint32_t conf_win_left_offset = 0;
    uint32_t conf_win_right_offset = 0;
    uint32_t conf_win_top_offset = 0;
    uint32_t conf_win_bottom_offset = 0;

    const uint32_t chroma_format_idc = GetUE();
    if (chroma_format_idc == 3)
        ReadData(1);  // separate_colour_plane_flag
    const uint32_t pic_width_in_luma_samples = GetUE();
    const uint32_t pic_height_in_luma_samples = GetUE();
    const uint32_t conformance_window_flag = ReadData(1);
    if (conformance_window_flag) {
        conf_win_left_offset = GetUE();
        conf_win_right_offset = GetUE();
        conf_win_top_offset = GetUE();
        conf_win_bottom_offset = GetUE();
    }

    if (readPastEnd)
        return false;
    const CroppingUnit unit = ChromaSubsampling(chroma_format_idc);
    info.width =
        CroppedSize(pic_width_in_luma_samples, unit.width, conf_win_left_offset, conf_win_right_offset);
    info.height =
        CroppedSize(pic_height_in_luma_samples, unit.height, conf_win_top_offset, conf_win_bottom_offset);
    return true;
}

// scaling_list_data(), H.265 7.3.4
void CParseHEVCParams::SkipScalingListData()
{
    for (uint32_t sizeId = 0; sizeId < 4; ++sizeId) {
        for (uint32_t matrixId = 0; matrixId < 6; matrixId += sizeId == 3 ? 3 : 1) {
            const uint32_t scaling_list_pred_mode_flag = ReadData(1);
            if (scaling_list_pred_mode_flag)
                SkipScalingList(sizeId);
            else
                GetUE();  // scaling_list_pred_matrix_id_delta[ sizeId ][ matrixId ]
        }
    }
}

void CParseHEVCParams::SkipScalingList(uint32_t sizeId)
{
    const uint32_t coefNum = std::min<uint32_t>(64, uint32_t{1} << (4 + (sizeId << 1)));
    if (sizeId > 1)
        GetSE();  // scaling_list_dc_coef_minus8[ sizeId − 2 ][ matrixId ]
    for (uint32_t i = 0; i < coefNum; ++i)
        GetSE();  // scaling_list_delta_coef
}

void CParseHEVCParams::SkipPcm()
{
    ReadData(4);  // pcm_sample_bit_depth_luma_minus1
    ReadData(4);  // pcm_sample_bit_depth_chroma_minus1
    GetUE();      // log2_min_pcm_luma_coding_block_size_minus3
    GetUE();      // log2_diff_max_min_pcm_luma_coding_block_size
    ReadData(1);  // pcm_loop_filter_disabled_flag
}

// False: more sets than the standard has, and no way to go on.
bool CParseHEVCParams::SkipShortTermRefPicSets()
{
    uint64_t NumDeltaPocs[MaxShortTermRefPicSets] = {};

    const uint32_t num_short_term_ref_pic_sets = GetUE();
    if (num_short_term_ref_pic_sets > MaxShortTermRefPicSets)
        return false;
    for (uint32_t i = 0; i < num_short_term_ref_pic_sets && !readPastEnd; ++i)
        SkipShortTermRefPicSet(i, NumDeltaPocs);
    return true;
}

// st_ref_pic_set( stRpsIdx ), H.265 7.3.7; delta_idx_minus1 is coded in slice headers only. An
// inter-predicted set counts its flags, whatever deltas they stand for.
void CParseHEVCParams::SkipShortTermRefPicSet(uint32_t stRpsIdx,
                                              uint64_t (&NumDeltaPocs)[MaxShortTermRefPicSets])
{
    uint32_t inter_ref_pic_set_prediction_flag = 0;
    if (stRpsIdx != 0)
        inter_ref_pic_set_prediction_flag = ReadData(1);
    if (inter_ref_pic_set_prediction_flag) {
        ReadData(1);  // delta_rps_sign
        GetUE();      // abs_delta_rps_minus1
        for (uint64_t j = 0; j <= NumDeltaPocs[stRpsIdx - 1] && !readPastEnd; ++j) {
            const uint32_t used_by_curr_pic_flag = ReadData(1);
            uint32_t use_delta_flag = 1;
            if (!used_by_curr_pic_flag)
                use_delta_flag = ReadData(1);
            if (used_by_curr_pic_flag || use_delta_flag)
                ++NumDeltaPocs[stRpsIdx];
        }
        return;
    }
    const uint32_t num_negative_pics = GetUE();
    const uint32_t num_positive_pics = GetUE();
    for (uint32_t i = 0; i < num_negative_pics && !readPastEnd; ++i) {
        GetUE();      // delta_poc_s0_minus1[ i ]
        ReadData(1);  // used_by_curr_pic_s0_flag[ i ]
    }
    for (uint32_t i = 0; i < num_positive_pics && !readPastEnd; ++i) {
        GetUE();      // delta_poc_s1_minus1[ i ]
        ReadData(1);  // used_by_curr_pic_s1_flag[ i ]
    }
    NumDeltaPocs[stRpsIdx] = uint64_t{num_negative_pics} + num_positive_pics;
}

void CParseHEVCParams::SkipLongTermRefPics(uint32_t log2_max_pic_order_cnt_lsb_minus4)
{
    const uint32_t num_long_term_ref_pics_sps = GetUE();
    for (uint32_t i = 0; i < num_long_term_ref_pics_sps && !readPastEnd; ++i) {
        ReadData(BitsOf(log2_max_pic_order_cnt_lsb_minus4));  // lt_ref_pic_poc_lsb_sps[ i ]
        ReadData(1);                                          // used_by_curr_pic_lt_sps_flag[ i ]
    }
}

// vui_parameters(), H.265 E.2.1, up to vui_time_scale
void CParseHEVCParams::ReadVui(VideoInfo& info)
{
    ReadVuiVideoDescription(info);
    ReadData(1);  // neutral_chroma_indication_flag
    ReadData(1);  // field_seq_flag
    ReadData(1);  // frame_field_info_present_flag
    const uint32_t default_display_window_flag = ReadData(1);
    if (default_display_window_flag) {
        GetUE();  // def_disp_win_left_offset
        GetUE();  // def_disp_win_right_offset
        GetUE();  // def_disp_win_top_offset
        GetUE();  // def_disp_win_bottom_offset
    }
    const uint32_t vui_timing_info_present_flag = ReadData(1);
    if (vui_timing_info_present_flag)
        ReadTiming(info);
}

}  // namespace videoparams
