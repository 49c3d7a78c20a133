#include "Pictures.h"

namespace bench {

namespace {

// Syntax elements of ITU-T H.264, clauses 7.3.2 and 7.3.3; High profile, 1920 x 1080.
class CAvcPictureWriter : public CPictureWriter
{
public:
    void WriteDelimiter(Bytes& stream) const override
    {
        RbspWriter rbsp;
        rbsp.U(3, 7);  // primary_pic_type
        rbsp.TrailingBits();
        AppendUnit(stream, {0x09}, rbsp.Rbsp());
    }

    void WriteParameterSets(Bytes& stream) const override
    {
        WriteSps(stream);
        WritePps(stream);
    }

    void WriteSei(Bytes& stream, const Bytes& messages) const override
    {
        RbspWriter rbsp;
        rbsp.Append(messages);
        rbsp.TrailingBits();
        AppendUnit(stream, {0x06}, rbsp.Rbsp());
    }

    void WritePicture(Bytes& stream, uint32_t index, const Bytes& payload) const override
    {
        const bool isIdr = index == 0;
        RbspWriter rbsp;
        rbsp.Ue(0);              // first_mb_in_slice
        rbsp.Ue(isIdr ? 7 : 5);  // slice_type
        rbsp.Ue(0);              // pic_parameter_set_id
        rbsp.U(8, index);        // frame_num
        if (isIdr)
            rbsp.Ue(0);        // idr_pic_id
        rbsp.U(8, 2 * index);  // pic_order_cnt_lsb
        if (isIdr) {
            rbsp.U(1, 0);  // no_output_of_prior_pics_flag
            rbsp.U(1, 0);  // long_term_reference_flag
        } else {
            rbsp.U(1, 0);  // num_ref_idx_active_override_flag
            rbsp.U(1, 0);  // ref_pic_list_modification_flag_l0
            rbsp.U(1, 0);  // adaptive_ref_pic_marking_mode_flag
            rbsp.Ue(0);    // cabac_init_idc
        }
        rbsp.Se(0);         // slice_qp_delta
        rbsp.Ue(0);         // disable_deblocking_filter_idc
        rbsp.Se(0);         // slice_alpha_c0_offset_div2
        rbsp.Se(0);         // slice_beta_offset_div2
        rbsp.AlignWith(1);  // cabac_alignment_one_bit
        rbsp.Append(payload);
        rbsp.TrailingBits();
        AppendUnit(stream, {static_cast<unsigned char>(isIdr ? 0x65 : 0x61)}, rbsp.Rbsp());
    }

private:
    static void WriteSps(Bytes& stream)
    {
        RbspWriter rbsp;
        rbsp.U(8, 100);  // profile_idc
        rbsp.U(8, 0);    // constraint_set0_flag ... reserved_zero_2bits
        rbsp.U(8, 40);   // level_idc
        rbsp.Ue(0);      // seq_parameter_set_id
        rbsp.Ue(1);      // chroma_format_idc
        rbsp.Ue(0);      // bit_depth_luma_minus8
        rbsp.Ue(0);      // bit_depth_chroma_minus8
        rbsp.U(1, 0);    // qpprime_y_zero_transform_bypass_flag
        rbsp.U(1, 0);    // seq_scaling_matrix_present_flag
        rbsp.Ue(4);      // log2_max_frame_num_minus4
        rbsp.Ue(0);      // pic_order_cnt_type
        rbsp.Ue(4);      // log2_max_pic_order_cnt_lsb_minus4
        rbsp.Ue(1);      // max_num_ref_frames
        rbsp.U(1, 0);    // gaps_in_frame_num_value_allowed_flag
        rbsp.Ue(119);    // pic_width_in_mbs_minus1
        rbsp.Ue(67);     // pic_height_in_map_units_minus1
        rbsp.U(1, 1);    // frame_mbs_only_flag
        rbsp.U(1, 1);    // direct_8x8_inference_flag
        rbsp.U(1, 1);    // frame_cropping_flag
        rbsp.Ue(0);      // frame_crop_left_offset
        rbsp.Ue(0);      // frame_crop_right_offset
        rbsp.Ue(0);      // frame_crop_top_offset
        rbsp.Ue(4);      // frame_crop_bottom_offset
        rbsp.U(1, 1);    // vui_parameters_present_flag
        rbsp.U(1, 0);    // aspect_ratio_info_present_flag
        rbsp.U(1, 0);    // overscan_info_present_flag
        rbsp.U(1, 1);    // video_signal_type_present_flag
        rbsp.U(3, 5);    // video_format
        rbsp.U(1, 0);    // video_full_range_flag
        rbsp.U(1, 1);    // colour_description_present_flag
        rbsp.U(8, 1);    // colour_primaries
        rbsp.U(8, 1);    // transfer_characteristics
        rbsp.U(8, 1);    // matrix_coefficients
        rbsp.U(1, 0);    // chroma_loc_info_present_flag
        rbsp.U(1, 1);    // timing_info_present_flag
        rbsp.U(32, 1);   // num_units_in_tick
        rbsp.U(32, 50);  // time_scale
        rbsp.U(1, 1);    // fixed_frame_rate_flag
        rbsp.U(1, 0);    // nal_hrd_parameters_present_flag
        rbsp.U(1, 0);    // vcl_hrd_parameters_present_flag
        rbsp.U(1, 0);    // pic_struct_present_flag
        rbsp.U(1, 0);    // bitstream_restriction_flag
        rbsp.TrailingBits();
        AppendUnit(stream, {0x67}, rbsp.Rbsp());
    }

    static void WritePps(Bytes& stream)
    {
        RbspWriter rbsp;
        rbsp.Ue(0);    // pic_parameter_set_id
        rbsp.Ue(0);    // seq_parameter_set_id
        rbsp.U(1, 1);  // entropy_coding_mode_flag
        rbsp.U(1, 0);  // bottom_field_pic_order_in_frame_present_flag
        rbsp.Ue(0);    // num_slice_groups_minus1
        rbsp.Ue(0);    // num_ref_idx_l0_default_active_minus1
        rbsp.Ue(0);    // num_ref_idx_l1_default_active_minus1
        rbsp.U(1, 0);  // weighted_pred_flag
        rbsp.U(2, 0);  // weighted_bipred_idc
        rbsp.Se(0);    // pic_init_qp_minus26
        rbsp.Se(0);    // pic_init_qs_minus26
        rbsp.Se(0);    // chroma_qp_index_offset
        rbsp.U(1, 1);  // deblocking_filter_control_present_flag
        rbsp.U(1, 0);  // constrained_intra_pred_flag
        rbsp.U(1, 0);  // redundant_pic_cnt_present_flag
        rbsp.TrailingBits();
        AppendUnit(stream, {0x68}, rbsp.Rbsp());
    }
};

const CAvcPictureWriter writer;

}  // namespace

const CPictureWriter& avcPictures = writer;

}  // namespace bench
