#include "stream/AvcSyntax.h"

#include <algorithm>
#include <iterator>

namespace tool {

namespace {

// The values of profile_idc whose parameter sets have chroma format, bit depths and scaling lists.
constexpr uint32_t HighProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};

constexpr uint32_t MaxRefIdx = 31;  // of num_ref_idx_l0_active_minus1, H.264 7.4.3

enum SliceType : uint32_t  // slice_type modulo 5, H.264 Table 7-6
{
    SliceP = 0,
    SliceB = 1,
    SliceI = 2,
    SliceSp = 3,
    SliceSi = 4,
};

uint32_t TypeOf(const AvcSliceHeader& slice)
{
    return slice.slice_type % 5;
}

// scaling_list(), H.264 7.3.2.1.1.1
void ReadScalingList(CElementReader& bits, uint32_t sizeOfScalingList)
{
    uint32_t lastScale = 8;
    uint32_t nextScale = 8;
    for (uint32_t j = 0; j < sizeOfScalingList && nextScale != 0 && !bits.PastEnd(); ++j) {
        const auto delta_scale = static_cast<uint32_t>(bits.Se("delta_scale"));
        nextScale = (lastScale + delta_scale + 256) % 256;
        lastScale = nextScale;
    }
}

void ReadChromaFormat(CElementReader& bits, AvcSps& sps)
{
    sps.chroma_format_idc = bits.Ue("chroma_format_idc");
    if (sps.chroma_format_idc == 3)
        sps.separate_colour_plane_flag = bits.Flag("separate_colour_plane_flag");
    sps.bit_depth_luma_minus8 = bits.Ue("bit_depth_luma_minus8");
    sps.bit_depth_chroma_minus8 = bits.Ue("bit_depth_chroma_minus8");
    bits.Flag("qpprime_y_zero_transform_bypass_flag");
    if (!bits.Flag("seq_scaling_matrix_present_flag"))
        return;
    const uint32_t listCount = sps.chroma_format_idc == 3 ? 12 : 8;
    for (uint32_t i = 0; i < listCount; ++i) {
        if (bits.Flag("seq_scaling_list_present_flag"))
            ReadScalingList(bits, i < 6 ? 16 : 64);
    }
}

void ReadPictureOrderCount(CElementReader& bits, AvcSps& sps)
{
    sps.pic_order_cnt_type = bits.Ue("pic_order_cnt_type");
    if (sps.pic_order_cnt_type == 0) {
        sps.log2_max_pic_order_cnt_lsb_minus4 = bits.Ue("log2_max_pic_order_cnt_lsb_minus4");
    } else if (sps.pic_order_cnt_type == 1) {
        sps.delta_pic_order_always_zero_flag = bits.Flag("delta_pic_order_always_zero_flag");
        bits.Se("offset_for_non_ref_pic");
        bits.Se("offset_for_top_to_bottom_field");
        const uint32_t count = bits.Ue("num_ref_frames_in_pic_order_cnt_cycle");
        for (uint32_t i = 0; i < count && !bits.PastEnd(); ++i)
            bits.Se("offset_for_ref_frame");
    }
}

// ref_pic_list_modification(), H.264 7.3.3.1
void ReadListModification(CElementReader& bits, const AvcSliceHeader& slice)
{
    const uint32_t listCount = TypeOf(slice) == SliceB                               ? 2
                               : TypeOf(slice) == SliceP || TypeOf(slice) == SliceSp ? 1
                                                                                     : 0;
    for (uint32_t list = 0; list < listCount; ++list) {
        if (!bits.Flag(list == 0 ? "ref_pic_list_modification_flag_l0" : "ref_pic_list_modification_flag_l1"))
            continue;
        while (bits.Ue("modification_of_pic_nums_idc") != 3 && !bits.PastEnd())
            bits.Ue("abs_diff_pic_num_minus1");  // or long_term_pic_num
    }
}

// pred_weight_table(), H.264 7.3.3.2
void ReadWeightTable(CElementReader& bits, const AvcSps& sps, const AvcSliceHeader& slice,
                     const uint32_t (&counts)[2])
{
    const bool hasChroma = sps.chroma_format_idc != 0 && !sps.separate_colour_plane_flag;
    bits.Ue("luma_log2_weight_denom");
    if (hasChroma)
        bits.Ue("chroma_log2_weight_denom");
    const uint32_t listCount = TypeOf(slice) == SliceB ? 2 : 1;
    for (uint32_t list = 0; list < listCount; ++list) {
        for (uint32_t i = 0; i < counts[list] && !bits.PastEnd(); ++i) {
            if (bits.Flag("luma_weight_flag")) {
                bits.Se("luma_weight");
                bits.Se("luma_offset");
            }
            if (hasChroma && bits.Flag("chroma_weight_flag")) {
                for (int j = 0; j < 2; ++j) {
                    bits.Se("chroma_weight");
                    bits.Se("chroma_offset");
                }
            }
        }
    }
}

// dec_ref_pic_marking(), H.264 7.3.3.3
bool ReadMarking(CElementReader& bits, bool IdrPicFlag)
{
    if (IdrPicFlag) {
        bits.Flag("no_output_of_prior_pics_flag");
        bits.Flag("long_term_reference_flag");
        return false;
    }
    bool hasOperation5 = false;
    if (!bits.Flag("adaptive_ref_pic_marking_mode_flag"))
        return false;
    while (!bits.PastEnd()) {
        const uint32_t operation = bits.Ue("memory_management_control_operation");
        if (operation == 0)
            break;
        hasOperation5 = hasOperation5 || operation == 5;
        if (operation == 1 || operation == 3)
            bits.Ue("difference_of_pic_nums_minus1");
        if (operation == 2)
            bits.Ue("long_term_pic_num");
        if (operation == 3 || operation == 6)
            bits.Ue("long_term_frame_idx");
        if (operation == 4)
            bits.Ue("max_long_term_frame_idx_plus1");
    }
    return hasOperation5;
}

void ReadPictureOrder(CElementReader& bits, const AvcSps& sps, const AvcPps& pps, const AvcSliceHeader& slice)
{
    const bool bottomIsCoded = pps.bottom_field_pic_order_in_frame_present_flag && !slice.field_pic_flag;
    if (sps.pic_order_cnt_type == 0) {
        bits.Bits("pic_order_cnt_lsb", sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
        if (bottomIsCoded)
            bits.Se("delta_pic_order_cnt_bottom");
    }
    if (sps.pic_order_cnt_type == 1 && !sps.delta_pic_order_always_zero_flag) {
        bits.Se("delta_pic_order_cnt[0]");
        if (bottomIsCoded)
            bits.Se("delta_pic_order_cnt[1]");
    }
}

// The elements that depend on the type of the slice, up to the weights.
void ReadReferences(CElementReader& bits, const AvcSps& sps, const AvcPps& pps, const AvcSliceHeader& slice)
{
    const uint32_t type = TypeOf(slice);
    uint32_t counts[2] = {pps.num_ref_idx_l0_default_active_minus1 + 1,
                          pps.num_ref_idx_l1_default_active_minus1 + 1};
    if (type == SliceB)
        bits.Flag("direct_spatial_mv_pred_flag");
    if ((type == SliceP || type == SliceSp || type == SliceB) &&
        bits.Flag("num_ref_idx_active_override_flag")) {
        counts[0] = bits.Ue("num_ref_idx_l0_active_minus1") + 1;
        if (type == SliceB)
            counts[1] = bits.Ue("num_ref_idx_l1_active_minus1") + 1;
    }
    counts[0] = std::min(counts[0], MaxRefIdx + 1);
    counts[1] = std::min(counts[1], MaxRefIdx + 1);
    ReadListModification(bits, slice);
    if ((pps.weighted_pred_flag && (type == SliceP || type == SliceSp)) ||
        (pps.weighted_bipred_idc == 1 && type == SliceB))
        ReadWeightTable(bits, sps, slice, counts);
}

// slice_group_id and its relatives, H.264 7.3.2.2
void ReadSliceGroups(CElementReader& bits, uint32_t num_slice_groups_minus1)
{
    const uint32_t slice_group_map_type = bits.Ue("slice_group_map_type");
    if (slice_group_map_type == 0) {
        for (uint32_t i = 0; i <= num_slice_groups_minus1 && !bits.PastEnd(); ++i)
            bits.Ue("run_length_minus1");
    } else if (slice_group_map_type == 2) {
        for (uint32_t i = 0; i < num_slice_groups_minus1 && !bits.PastEnd(); ++i) {
            bits.Ue("top_left");
            bits.Ue("bottom_right");
        }
    } else if (slice_group_map_type >= 3 && slice_group_map_type <= 5) {
        bits.Flag("slice_group_change_direction_flag");
        bits.Ue("slice_group_change_rate_minus1");
    } else if (slice_group_map_type == 6) {
        const uint32_t count = bits.Ue("pic_size_in_map_units_minus1");
        const uint32_t width = num_slice_groups_minus1 > 3 ? 3 : num_slice_groups_minus1 > 1 ? 2 : 1;
        for (uint32_t i = 0; i <= count && !bits.PastEnd(); ++i)
            bits.Bits("slice_group_id", width);
    }
}

}  // namespace

// seq_parameter_set_data(), H.264 7.3.2.1.1, up to the cropping
std::optional<AvcSps> ReadAvcSps(CElementReader& bits)
{
    AvcSps sps;
    sps.profile_idc = bits.Bits("profile_idc", 8);
    sps.constraint_flags = bits.Bits("constraint_flags", 8);
    sps.level_idc = bits.Bits("level_idc", 8);
    sps.seq_parameter_set_id = bits.Ue("seq_parameter_set_id");
    if (std::find(std::begin(HighProfiles), std::end(HighProfiles), sps.profile_idc) !=
        std::end(HighProfiles))
        ReadChromaFormat(bits, sps);
    sps.log2_max_frame_num_minus4 = bits.Ue("log2_max_frame_num_minus4");
    ReadPictureOrderCount(bits, sps);
    sps.max_num_ref_frames = bits.Ue("max_num_ref_frames");
    sps.gaps_in_frame_num_value_allowed_flag = bits.Flag("gaps_in_frame_num_value_allowed_flag");
    bits.Ue("pic_width_in_mbs_minus1");
    bits.Ue("pic_height_in_map_units_minus1");
    sps.frame_mbs_only_flag = bits.Flag("frame_mbs_only_flag");
    if (!sps.frame_mbs_only_flag)
        sps.mb_adaptive_frame_field_flag = bits.Flag("mb_adaptive_frame_field_flag");
    bits.Flag("direct_8x8_inference_flag");
    if (bits.Flag("frame_cropping_flag")) {
        bits.Ue("frame_crop_left_offset");
        bits.Ue("frame_crop_right_offset");
        bits.Ue("frame_crop_top_offset");
        bits.Ue("frame_crop_bottom_offset");
    }
    return bits.PastEnd() ? std::nullopt : std::optional(sps);
}

// pic_parameter_set_rbsp(), H.264 7.3.2.2, up to redundant_pic_cnt_present_flag
std::optional<AvcPps> ReadAvcPps(CElementReader& bits)
{
    AvcPps pps;
    pps.pic_parameter_set_id = bits.Ue("pic_parameter_set_id");
    pps.seq_parameter_set_id = bits.Ue("seq_parameter_set_id");
    pps.entropy_coding_mode_flag = bits.Flag("entropy_coding_mode_flag");
    pps.bottom_field_pic_order_in_frame_present_flag =
        bits.Flag("bottom_field_pic_order_in_frame_present_flag");
    if (const uint32_t num_slice_groups_minus1 = bits.Ue("num_slice_groups_minus1"))
        ReadSliceGroups(bits, num_slice_groups_minus1);
    pps.num_ref_idx_l0_default_active_minus1 = bits.Ue("num_ref_idx_l0_default_active_minus1");
    pps.num_ref_idx_l1_default_active_minus1 = bits.Ue("num_ref_idx_l1_default_active_minus1");
    pps.weighted_pred_flag = bits.Flag("weighted_pred_flag");
    pps.weighted_bipred_idc = bits.Bits("weighted_bipred_idc", 2);
    bits.Se("pic_init_qp_minus26");
    bits.Se("pic_init_qs_minus26");
    bits.Se("chroma_qp_index_offset");
    bits.Flag("deblocking_filter_control_present_flag");
    bits.Flag("constrained_intra_pred_flag");
    pps.redundant_pic_cnt_present_flag = bits.Flag("redundant_pic_cnt_present_flag");
    return bits.PastEnd() ? std::nullopt : std::optional(pps);
}

AvcSliceHeader ReadAvcSliceStart(const NalUnit& unit, CElementReader& bits)
{
    AvcSliceHeader slice;
    slice.nal_unit_type = unit.Type();
    slice.nal_ref_idc = unit.RefIdc();
    slice.first_mb_in_slice = bits.Ue("first_mb_in_slice");
    slice.slice_type = bits.Ue("slice_type");
    slice.pic_parameter_set_id = bits.Ue("pic_parameter_set_id");
    return slice;
}

// slice_header(), H.264 7.3.3
std::optional<AvcSliceHeader> ReadAvcSliceHeader(const NalUnit& unit, const AvcSps& sps, const AvcPps& pps,
                                                 CElementReader& bits)
{
    const bool IdrPicFlag = unit.IsIdrSlice();
    AvcSliceHeader slice = ReadAvcSliceStart(unit, bits);
    if (sps.separate_colour_plane_flag)
        bits.Bits("colour_plane_id", 2);
    slice.frame_num = bits.Bits("frame_num", sps.log2_max_frame_num_minus4 + 4);
    if (!sps.frame_mbs_only_flag) {
        slice.field_pic_flag = bits.Flag("field_pic_flag");
        if (slice.field_pic_flag)
            slice.bottom_field_flag = bits.Flag("bottom_field_flag");
    }
    if (IdrPicFlag)
        bits.Ue("idr_pic_id");
    ReadPictureOrder(bits, sps, pps, slice);
    if (pps.redundant_pic_cnt_present_flag)
        bits.Ue("redundant_pic_cnt");
    ReadReferences(bits, sps, pps, slice);
    if (slice.nal_ref_idc != 0)
        slice.hasOperation5 = ReadMarking(bits, IdrPicFlag);
    return bits.PastEnd() ? std::nullopt : std::optional(slice);
}

}  // namespace tool
