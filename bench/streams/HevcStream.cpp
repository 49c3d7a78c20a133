#include "streams/HevcStream.h"

namespace videoparams::streams {

namespace {

// 88 bits, of which few are alike.
void WriteProfile(BitWriter& writer)
{
    writer.U(8, 0x01).U(32, 0x60000000).U(48, 0x9A5C00000001);
}

// profile_tier_level( 1, … )
void WriteProfileTierLevel(BitWriter& writer, const std::vector<HevcSubLayer>& subLayers)
{
    WriteProfile(writer);
    writer.U(8, 93);  // general_level_idc
    for (const HevcSubLayer& subLayer : subLayers)
        writer.U(1, subLayer.hasProfile).U(1, subLayer.hasLevel);
    if (!subLayers.empty()) {
        for (size_t i = subLayers.size(); i < 8; ++i)
            writer.U(2, 0);
    }
    for (const HevcSubLayer& subLayer : subLayers) {
        if (subLayer.hasProfile)
            WriteProfile(writer);
        if (subLayer.hasLevel)
            writer.U(8, 90);
    }
}

void WriteSubLayerOrdering(BitWriter& writer, size_t max_sub_layers_minus1, uint32_t presentFlag)
{
    writer.U(1, presentFlag);
    for (size_t i = presentFlag ? 0 : max_sub_layers_minus1; i <= max_sub_layers_minus1; ++i)
        writer.Ue(1).Ue(0).Ue(0);
}

void WriteTiming(BitWriter& writer, const std::optional<Timing>& timing)
{
    writer.U(1, timing.has_value());
    if (timing)
        writer.U(32, timing->num_units_in_tick).U(32, timing->time_scale);
    writer.Mark("timing");
    if (timing)
        writer.U(1, 0);  // poc_proportional_to_timing_flag
}

// scaling_list_data(): 6 lists of 16 coefficients, 6 + 6 + 2 lists of 64
void WriteScalingListData(BitWriter& writer, bool coded)
{
    for (uint32_t list = 0; list < 20; ++list) {
        writer.U(1, coded);
        if (!coded) {
            writer.Ue(1);
            continue;
        }
        if (list >= 12)
            writer.Se(3);  // scaling_list_dc_coef_minus8
        for (uint32_t i = 0; i < (list < 6 ? 16U : 64U); ++i)
            writer.Se(i % 2 == 0 ? 1 : -2);
    }
}

void WriteRefPicSet(BitWriter& writer, const HevcRefPicSet& set, bool isFirst)
{
    if (!isFirst)
        writer.U(1, !set.predicted.empty());
    if (!set.predicted.empty()) {
        writer.U(1, 1).Ue(0);  // delta_rps_sign, abs_delta_rps_minus1
        for (const char flags : set.predicted) {
            writer.U(1, flags == 'u');
            if (flags != 'u')
                writer.U(1, flags == 'd');
        }
        return;
    }
    writer.Ue(set.num_negative_pics).Ue(set.num_positive_pics);
    for (uint32_t i = 0; i < set.num_negative_pics + set.num_positive_pics; ++i)
        writer.Ue(i).U(1, 1);
}

void WriteVui(BitWriter& writer, const HevcVui& vui)
{
    vui.description.WriteTo(writer);
    writer.U(3, 0);  // neutral chroma, field_seq, frame_field_info
    WriteWindow(writer, vui.defaultDisplayWindow);
    WriteTiming(writer, vui.timing);
    if (vui.timing)
        writer.U(1, 0);  // vui_hrd_parameters_present_flag
    writer.U(1, 0);      // bitstream_restriction_flag
}

}  // namespace

void HevcVps::WriteTo(BitWriter& writer) const
{
    writer.U(4, 0).U(1, 1).U(1, 1).U(6, 0);
    writer.U(3, subLayers.size()).U(1, 1).U(16, 0xFFFF);
    WriteProfileTierLevel(writer, subLayers);
    WriteSubLayerOrdering(writer, subLayers.size(), sub_layer_ordering_info_present_flag);
    writer.U(6, vps_max_layer_id).Ue(vps_num_layer_sets_minus1);
    for (uint32_t i = 0; i < vps_num_layer_sets_minus1 * (vps_max_layer_id + 1); ++i)
        writer.U(1, i % 2);
    WriteTiming(writer, timing);
    if (timing)
        writer.Ue(0);  // vps_num_hrd_parameters
    writer.U(1, 0).TrailingBits();
}

Bytes HevcVps::Write() const
{
    return HevcUnit(32, RbspOf(*this));
}

void HevcSps::WriteTo(BitWriter& writer) const
{
    writer.U(4, 0).U(3, subLayers.size()).U(1, 1);
    WriteProfileTierLevel(writer, subLayers);
    writer.Ue(sps_seq_parameter_set_id).Ue(chroma_format_idc);
    if (chroma_format_idc == 3)
        writer.U(1, 0);
    writer.Ue(pic_width_in_luma_samples).Ue(pic_height_in_luma_samples);
    WriteWindow(writer, conformanceWindow);
    writer.Mark("size");
    writer.Ue(0).Ue(0);  // bit depths
    writer.Ue(log2_max_pic_order_cnt_lsb_minus4);
    WriteSubLayerOrdering(writer, subLayers.size(), sub_layer_ordering_info_present_flag);
    writer.Ue(0).Ue(3).Ue(0).Ue(3).Ue(0).Ue(0);  // block sizes, transform hierarchy
    writer.U(1, scalingLists != HevcScalingLists::Absent);
    if (scalingLists != HevcScalingLists::Absent) {
        writer.U(1, scalingLists != HevcScalingLists::Default);
        if (scalingLists != HevcScalingLists::Default)
            WriteScalingListData(writer, scalingLists == HevcScalingLists::Coded);
    }
    writer.U(1, 0).U(1, 1);  // amp_enabled_flag, sample_adaptive_offset_enabled_flag
    writer.U(1, pcm);
    if (pcm)
        writer.U(4, 7).U(4, 6).Ue(0).Ue(2).U(1, 1);
    writer.Ue(static_cast<uint32_t>(refPicSets.size()));
    for (const HevcRefPicSet& set : refPicSets)
        WriteRefPicSet(writer, set, &set == refPicSets.data());
    writer.U(1, !lt_ref_pic_poc_lsb_sps.empty());
    if (!lt_ref_pic_poc_lsb_sps.empty()) {
        writer.Ue(static_cast<uint32_t>(lt_ref_pic_poc_lsb_sps.size()));
        for (const uint32_t lsb : lt_ref_pic_poc_lsb_sps)
            writer.U(log2_max_pic_order_cnt_lsb_minus4 + 4, lsb).U(1, 1);
    }
    writer.U(2, 0);  // sps_temporal_mvp_enabled_flag, strong_intra_smoothing_enabled_flag
    writer.U(1, vui.has_value());
    if (vui)
        WriteVui(writer, *vui);
    writer.U(1, 0).TrailingBits();
}

Bytes HevcSps::Write() const
{
    return HevcUnit(33, RbspOf(*this));
}

// A first slice segment is correct in every element; of others, the first bit is.
Bytes HevcSlice::Write(uint32_t nuh_layer_id) const
{
    const bool isKey = nal_unit_type >= 16 && nal_unit_type <= 23;
    const bool isIdr = nal_unit_type == 19 || nal_unit_type == 20;
    BitWriter writer;
    writer.U(1, first_slice_segment_in_pic_flag);
    if (isKey)
        writer.U(1, 0);              // no_output_of_prior_pics_flag
    writer.Ue(0).Ue(isKey ? 2 : 1);  // slice_pic_parameter_set_id, slice_type
    if (!isIdr)
        writer.U(8, slice_pic_order_cnt_lsb).U(1, 1);  // short_term_ref_pic_set_sps_flag
    writer.U(2, 3);                                    // slice_sao_luma_flag, slice_sao_chroma_flag
    if (!isKey)
        writer.U(1, 0).Ue(0);  // num_ref_idx_active_override_flag, five_minus_max_num_merge_cand
    writer.Se(0);              // slice_qp_delta
    writer.TrailingBits();     // byte_alignment()
    writer.Append(sliceData).TrailingBits();
    return HevcUnit(nal_unit_type, writer.Written(), nuh_layer_id);
}

Bytes HevcPps()
{
    BitWriter writer;
    writer.Ue(0).Ue(0);        // pps_pic_parameter_set_id, pps_seq_parameter_set_id
    writer.U(2, 0).U(3, 0);    // dependent_slice_segments, output_flag_present; num_extra_slice_header_bits
    writer.U(2, 0);            // sign_data_hiding, cabac_init_present
    writer.Ue(0).Ue(0).Se(0);  // reference index counts, init_qp_minus26
    writer.U(3, 0);            // constrained_intra_pred, transform_skip, cu_qp_delta
    writer.Se(0).Se(0);        // pps_cb_qp_offset, pps_cr_qp_offset
    writer.U(3, 0).U(3,
                     0);  // slice chroma offsets, weighted prediction; transquant_bypass, tiles, entropy sync
    writer.U(4, 0);       // loop filter across slices, deblocking control, scaling list, lists modification
    writer.Ue(0).U(2, 0);  // log2_parallel_merge_level_minus2; two extensions
    writer.TrailingBits();
    return HevcUnit(34, writer.Written());
}

Bytes HevcDelimiter()
{
    return HevcUnit(35, {0x50});
}

Bytes HevcSei(const Bytes& messages)
{
    return HevcUnit(39, messages + Bytes{0x80});
}

}  // namespace videoparams::streams
