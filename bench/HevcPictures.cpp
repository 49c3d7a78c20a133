#include "Pictures.h"

namespace bench {

namespace {

// Syntax elements of ITU-T H.265, clauses 7.3.2 and 7.3.6; Main profile, 1920 x 1080.
class CHevcPictureWriter : public CPictureWriter
{
public:
    void WriteDelimiter(Bytes& stream) const override
    {
        RbspWriter rbsp;
        rbsp.U(3, 2);  // pic_type
        rbsp.TrailingBits();
        AppendUnit(stream, Header(35), rbsp.Rbsp());
    }

    void WriteParameterSets(Bytes& stream) const override
    {
        WriteVps(stream);
        WriteSps(stream);
        WritePps(stream);
    }

    void WriteSei(Bytes& stream, const Bytes& messages) const override
    {
        RbspWriter rbsp;
        rbsp.Append(messages);
        rbsp.TrailingBits();
        AppendUnit(stream, Header(39), rbsp.Rbsp());
    }

    void WritePicture(Bytes& stream, uint32_t index, const Bytes& payload) const override
    {
        const bool isIdr = index == 0;
        RbspWriter rbsp;
        rbsp.U(1, 1);  // first_slice_segment_in_pic_flag
        if (isIdr)
            rbsp.U(1, 0);        // no_output_of_prior_pics_flag
        rbsp.Ue(0);              // slice_pic_parameter_set_id
        rbsp.Ue(isIdr ? 2 : 1);  // slice_type
        if (!isIdr) {
            rbsp.U(8, index);  // slice_pic_order_cnt_lsb
            rbsp.U(1, 1);      // short_term_ref_pic_set_sps_flag
        }
        rbsp.U(1, 1);  // slice_sao_luma_flag
        rbsp.U(1, 1);  // slice_sao_chroma_flag
        if (!isIdr) {
            rbsp.U(1, 0);  // num_ref_idx_active_override_flag
            rbsp.Ue(0);    // five_minus_max_num_merge_cand
        }
        rbsp.Se(0);           // slice_qp_delta
        rbsp.TrailingBits();  // byte_alignment()
        rbsp.Append(payload);
        rbsp.TrailingBits();
        // IDR_W_RADL, then TRAIL_R and TRAIL_N by turns. The header of TRAIL_N begins with a zero byte.
        AppendUnit(stream, Header(isIdr ? 19 : index % 2), rbsp.Rbsp());
    }

private:
    static Bytes Header(uint32_t nal_unit_type)
    {
        return {static_cast<unsigned char>(nal_unit_type << 1), 1};
    }

    static void WriteProfileTierLevel(RbspWriter& rbsp)
    {
        rbsp.U(2, 0);            // general_profile_space
        rbsp.U(1, 0);            // general_tier_flag
        rbsp.U(5, 1);            // general_profile_idc
        rbsp.U(32, 0x60000000);  // general_profile_compatibility_flag
        rbsp.U(4, 9);            // progressive, interlaced, non-packed, frame only
        rbsp.U(32, 0);           // general_reserved_zero_43bits, general_reserved_zero_bit
        rbsp.U(12, 0);
        rbsp.U(8, 120);  // general_level_idc
    }

    static void WriteOrderingInfo(RbspWriter& rbsp)
    {
        rbsp.U(1, 1);  // sub_layer_ordering_info_present_flag
        rbsp.Ue(1);    // max_dec_pic_buffering_minus1
        rbsp.Ue(0);    // max_num_reorder_pics
        rbsp.Ue(0);    // max_latency_increase_plus1
    }

    static void WriteTiming(RbspWriter& rbsp)
    {
        rbsp.U(1, 1);    // timing_info_present_flag
        rbsp.U(32, 1);   // num_units_in_tick
        rbsp.U(32, 50);  // time_scale
        rbsp.U(1, 0);    // poc_proportional_to_timing_flag
    }

    static void WriteVps(Bytes& stream)
    {
        RbspWriter rbsp;
        rbsp.U(4, 0);        // vps_video_parameter_set_id
        rbsp.U(2, 3);        // vps_base_layer_internal_flag, vps_base_layer_available_flag
        rbsp.U(6, 0);        // vps_max_layers_minus1
        rbsp.U(3, 0);        // vps_max_sub_layers_minus1
        rbsp.U(1, 1);        // vps_temporal_id_nesting_flag
        rbsp.U(16, 0xFFFF);  // vps_reserved_0xffff_16bits
        WriteProfileTierLevel(rbsp);
        WriteOrderingInfo(rbsp);
        rbsp.U(6, 0);  // vps_max_layer_id
        rbsp.Ue(0);    // vps_num_layer_sets_minus1
        WriteTiming(rbsp);
        rbsp.Ue(0);    // vps_num_hrd_parameters
        rbsp.U(1, 0);  // vps_extension_flag
        rbsp.TrailingBits();
        AppendUnit(stream, Header(32), rbsp.Rbsp());
    }

    static void WriteSps(Bytes& stream)
    {
        RbspWriter rbsp;
        rbsp.U(4, 0);  // sps_video_parameter_set_id
        rbsp.U(3, 0);  // sps_max_sub_layers_minus1
        rbsp.U(1, 1);  // sps_temporal_id_nesting_flag
        WriteProfileTierLevel(rbsp);
        rbsp.Ue(0);     // sps_seq_parameter_set_id
        rbsp.Ue(1);     // chroma_format_idc
        rbsp.Ue(1920);  // pic_width_in_luma_samples
        rbsp.Ue(1080);  // pic_height_in_luma_samples
        rbsp.U(1, 0);   // conformance_window_flag
        rbsp.Ue(0);     // bit_depth_luma_minus8
        rbsp.Ue(0);     // bit_depth_chroma_minus8
        rbsp.Ue(4);     // log2_max_pic_order_cnt_lsb_minus4
        WriteOrderingInfo(rbsp);
        rbsp.Ue(0);    // log2_min_luma_coding_block_size_minus3
        rbsp.Ue(3);    // log2_diff_max_min_luma_coding_block_size
        rbsp.Ue(0);    // log2_min_luma_transform_block_size_minus2
        rbsp.Ue(3);    // log2_diff_max_min_luma_transform_block_size
        rbsp.Ue(0);    // max_transform_hierarchy_depth_inter
        rbsp.Ue(0);    // max_transform_hierarchy_depth_intra
        rbsp.U(1, 0);  // scaling_list_enabled_flag
        rbsp.U(1, 0);  // amp_enabled_flag
        rbsp.U(1, 1);  // sample_adaptive_offset_enabled_flag
        rbsp.U(1, 0);  // pcm_enabled_flag
        rbsp.Ue(1);    // num_short_term_ref_pic_sets
        rbsp.Ue(1);    // num_negative_pics
        rbsp.Ue(0);    // num_positive_pics
        rbsp.Ue(0);    // delta_poc_s0_minus1
        rbsp.U(1, 1);  // used_by_curr_pic_s0_flag
        rbsp.U(1, 0);  // long_term_ref_pics_present_flag
        rbsp.U(1, 0);  // sps_temporal_mvp_enabled_flag
        rbsp.U(1, 0);  // strong_intra_smoothing_enabled_flag
        rbsp.U(1, 1);  // vui_parameters_present_flag
        rbsp.U(1, 0);  // aspect_ratio_info_present_flag
        rbsp.U(1, 0);  // overscan_info_present_flag
        rbsp.U(1, 1);  // video_signal_type_present_flag
        rbsp.U(3, 5);  // video_format
        rbsp.U(1, 0);  // video_full_range_flag
        rbsp.U(1, 1);  // colour_description_present_flag
        rbsp.U(8, 1);  // colour_primaries
        rbsp.U(8, 1);  // transfer_characteristics
        rbsp.U(8, 1);  // matrix_coeffs
        rbsp.U(1, 0);  // chroma_loc_info_present_flag
        rbsp.U(1, 0);  // neutral_chroma_indication_flag
        rbsp.U(1, 0);  // field_seq_flag
        rbsp.U(1, 0);  // frame_field_info_present_flag
        rbsp.U(1, 0);  // default_display_window_flag
        WriteTiming(rbsp);
        rbsp.U(1, 0);  // vui_hrd_parameters_present_flag
        rbsp.U(1, 0);  // bitstream_restriction_flag
        rbsp.U(1, 0);  // sps_extension_present_flag
        rbsp.TrailingBits();
        AppendUnit(stream, Header(33), rbsp.Rbsp());
    }

    static void WritePps(Bytes& stream)
    {
        RbspWriter rbsp;
        rbsp.Ue(0);    // pps_pic_parameter_set_id
        rbsp.Ue(0);    // pps_seq_parameter_set_id
        rbsp.U(1, 0);  // dependent_slice_segments_enabled_flag
        rbsp.U(1, 0);  // output_flag_present_flag
        rbsp.U(3, 0);  // num_extra_slice_header_bits
        rbsp.U(1, 0);  // sign_data_hiding_enabled_flag
        rbsp.U(1, 0);  // cabac_init_present_flag
        rbsp.Ue(0);    // num_ref_idx_l0_default_active_minus1
        rbsp.Ue(0);    // num_ref_idx_l1_default_active_minus1
        rbsp.Se(0);    // init_qp_minus26
        rbsp.U(1, 0);  // constrained_intra_pred_flag
        rbsp.U(1, 0);  // transform_skip_enabled_flag
        rbsp.U(1, 0);  // cu_qp_delta_enabled_flag
        rbsp.Se(0);    // pps_cb_qp_offset
        rbsp.Se(0);    // pps_cr_qp_offset
        rbsp.U(1, 0);  // pps_slice_chroma_qp_offsets_present_flag
        rbsp.U(2, 0);  // weighted_pred_flag, weighted_bipred_flag
        rbsp.U(1, 0);  // transquant_bypass_enabled_flag
        rbsp.U(2, 0);  // tiles_enabled_flag, entropy_coding_sync_enabled_flag
        rbsp.U(1, 0);  // pps_loop_filter_across_slices_enabled_flag
        rbsp.U(1, 0);  // deblocking_filter_control_present_flag
        rbsp.U(1, 0);  // pps_scaling_list_data_present_flag
        rbsp.U(1, 0);  // lists_modification_present_flag
        rbsp.Ue(0);    // log2_parallel_merge_level_minus2
        rbsp.U(1, 0);  // slice_segment_header_extension_present_flag
        rbsp.U(1, 0);  // pps_extension_present_flag
        rbsp.TrailingBits();
        AppendUnit(stream, Header(34), rbsp.Rbsp());
    }
};

const CHevcPictureWriter writer;

}  // namespace

const CPictureWriter& hevcPictures = writer;

}  // namespace bench
