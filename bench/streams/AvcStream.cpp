#include "streams/AvcStream.h"

namespace videoparams::streams {

namespace {

// 7.3.2.1.1: the values of profile_idc with which the chroma format and what follows it are coded
bool CodesChromaFormat(uint32_t profile_idc)
{
    for (const uint32_t value : {100u, 110u, 122u, 244u, 44u, 83u, 86u, 118u, 128u, 138u, 139u, 134u}) {
        if (profile_idc == value)
            return true;
    }
    return false;
}

}  // namespace

void AvcSps::WriteTo(BitWriter& writer) const
{
    writer.U(8, profile_idc).U(8, 0).U(8, 40);  // constraint flags, level_idc
    writer.Ue(seq_parameter_set_id);
    if (CodesChromaFormat(profile_idc)) {
        writer.Ue(chroma_format_idc);
        if (chroma_format_idc == 3)
            writer.U(1, separate_colour_plane_flag);
        writer.Ue(0).Ue(0).U(1, 0);  // bit depths, qpprime_y_zero_transform_bypass_flag
        writer.U(1, !scalingLists.empty());
        for (const std::vector<int32_t>& list : scalingLists) {
            writer.U(1, !list.empty());
            for (const int32_t delta_scale : list)
                writer.Se(delta_scale);
        }
    }
    writer.Ue(log2_max_frame_num_minus4);
    writer.Ue(pic_order_cnt_type);
    if (pic_order_cnt_type == 0) {
        writer.Ue(log2_max_pic_order_cnt_lsb_minus4);
    } else if (pic_order_cnt_type == 1) {
        writer.U(1, delta_pic_order_always_zero_flag);
        writer.Se(-1).Se(2);  // offset_for_non_ref_pic, offset_for_top_to_bottom_field
        writer.Ue(static_cast<uint32_t>(offset_for_ref_frame.size()));
        for (const int32_t offset : offset_for_ref_frame)
            writer.Se(offset);
    }
    writer.Ue(1);  // max_num_ref_frames
    writer.U(1, gaps_in_frame_num_value_allowed_flag);
    writer.Ue(pic_width_in_mbs_minus1).Ue(pic_height_in_map_units_minus1);
    writer.U(1, frame_mbs_only_flag);
    if (!frame_mbs_only_flag)
        writer.U(1, 1);  // mb_adaptive_frame_field_flag
    writer.U(1, 1);      // direct_8x8_inference_flag
    WriteWindow(writer, cropping);
    writer.Mark("size");
    writer.U(1, vui.has_value());
    if (vui) {
        vui->description.WriteTo(writer);
        writer.U(1, vui->timing.has_value());
        if (vui->timing)
            writer.U(32, vui->timing->num_units_in_tick).U(32, vui->timing->time_scale).U(1, 1);
        writer.Mark("timing");
        writer.U(4, 0);  // HRD parameters of two kinds, pic_struct, bitstream_restriction
    }
    writer.TrailingBits();
}

Bytes AvcSps::Write() const
{
    return AvcUnit(7, RbspOf(*this));
}

void AvcPps::WriteTo(BitWriter& writer) const
{
    writer.Ue(pic_parameter_set_id).Ue(seq_parameter_set_id);
    writer.U(1, 1);  // entropy_coding_mode_flag
    writer.U(1, bottom_field_pic_order_in_frame_present_flag);
    writer.Mark("read");
    writer.Ue(0).Ue(0).Ue(0);  // slice groups, reference index counts
    writer.U(3, 0);            // weighted prediction
    writer.Se(0).Se(0).Se(0);  // quantisation parameters
    writer.U(1, 1).U(2, 0);    // deblocking control; constrained intra, redundant pictures
    writer.TrailingBits();
}

Bytes AvcPps::Write() const
{
    return AvcUnit(8, RbspOf(*this));
}

void AvcSlice::WriteTo(BitWriter& writer, const AvcSps& sps, const AvcPps& pps) const
{
    writer.Ue(first_mb_in_slice).Ue(slice_type).Ue(pic_parameter_set_id);
    if (sps.separate_colour_plane_flag)
        writer.U(2, colour_plane_id);
    writer.U(sps.log2_max_frame_num_minus4 + 4, frame_num);
    if (!sps.frame_mbs_only_flag) {
        writer.U(1, field_pic_flag);
        if (field_pic_flag)
            writer.U(1, bottom_field_flag);
    }
    if (nal_unit_type == 5)
        writer.Ue(idr_pic_id);
    const bool bottomIsCoded = pps.bottom_field_pic_order_in_frame_present_flag && !field_pic_flag;
    if (sps.pic_order_cnt_type == 0) {
        writer.U(sps.log2_max_pic_order_cnt_lsb_minus4 + 4, pic_order_cnt_lsb);
        if (bottomIsCoded)
            writer.Se(delta_pic_order_cnt_bottom);
    }
    if (sps.pic_order_cnt_type == 1 && !sps.delta_pic_order_always_zero_flag) {
        writer.Se(delta_pic_order_cnt[0]);
        if (bottomIsCoded)
            writer.Se(delta_pic_order_cnt[1]);
    }
    writer.Mark("read");
    const bool isIntra = slice_type % 5 == 2;
    if (!isIntra)
        writer.U(2, 0);  // reference index counts and lists as they are
    if (nal_ref_idc != 0 && memory_management_control_operation != 0)
        writer.U(1, 1).Ue(memory_management_control_operation).Ue(0);
    else if (nal_ref_idc != 0)
        writer.U(nal_unit_type == 5 ? 2 : 1, 0);  // dec_ref_pic_marking()
    if (!isIntra)
        writer.Ue(0);                // cabac_init_idc
    writer.Se(0).Ue(0).Se(0).Se(0);  // quantisation, deblocking
    writer.Align(1).Append(sliceData).TrailingBits();
}

Bytes AvcSlice::Write(const AvcSps& sps, const AvcPps& pps) const
{
    BitWriter writer;
    WriteTo(writer, sps, pps);
    return AvcUnit(nal_unit_type, writer.Written(), nal_ref_idc);
}

Bytes AvcDelimiter()
{
    return AvcUnit(9, {0xF0}, 0);
}

Bytes AvcSei(const Bytes& messages)
{
    return AvcUnit(6, messages + Bytes{0x80}, 0);
}

}  // namespace videoparams::streams
