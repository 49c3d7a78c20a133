#include "stream/HevcSyntax.h"

namespace tool {

namespace {

constexpr uint32_t ProfileBits = 88;  // profile space to reserved bits of a sub-layer, H.265 7.3.3
constexpr uint32_t LevelBits = 8;

// profile_tier_level( 1, maxNumSubLayersMinus1 ), H.265 7.3.3
void ReadProfileTierLevel(CElementReader& bits, uint32_t maxNumSubLayersMinus1, HevcSps& sps)
{
    bits.Bits("general_profile_space", 2);
    sps.general_tier_flag = bits.Bits("general_tier_flag", 1);
    sps.general_profile_idc = bits.Bits("general_profile_idc", 5);
    sps.general_profile_compatibility_flags = bits.Bits("general_profile_compatibility_flags", 32);
    sps.general_progressive_source_flag = bits.Flag("general_progressive_source_flag");
    sps.general_interlaced_source_flag = bits.Flag("general_interlaced_source_flag");
    bits.Flag("general_non_packed_constraint_flag");
    bits.Flag("general_frame_only_constraint_flag");
    bits.Skip(32);  // 44 bits that depend on the profile
    bits.Skip(12);
    sps.general_level_idc = bits.Bits("general_level_idc", 8);
    uint32_t subLayerBits = 0;
    for (uint32_t i = 0; i < maxNumSubLayersMinus1; ++i) {
        subLayerBits += bits.Flag("sub_layer_profile_present_flag") ? ProfileBits : 0;
        subLayerBits += bits.Flag("sub_layer_level_present_flag") ? LevelBits : 0;
    }
    for (uint32_t i = maxNumSubLayersMinus1; maxNumSubLayersMinus1 != 0 && i < 8; ++i)
        bits.Skip(2);  // reserved_zero_2bits
    bits.Skip(subLayerBits);
}

// seq_parameter_set_rbsp(), H.265 7.3.2.2.1, up to the identifier
HevcSps ReadSpsStart(CElementReader& bits)
{
    HevcSps sps;
    sps.sps_video_parameter_set_id = bits.Bits("sps_video_parameter_set_id", 4);
    sps.sps_max_sub_layers_minus1 = bits.Bits("sps_max_sub_layers_minus1", 3);
    bits.Flag("sps_temporal_id_nesting_flag");
    ReadProfileTierLevel(bits, sps.sps_max_sub_layers_minus1, sps);
    sps.sps_seq_parameter_set_id = bits.Ue("sps_seq_parameter_set_id");
    return sps;
}

bool IsIrap(const NalUnit& unit)
{
    return unit.Type() >= 16 && unit.Type() <= 23;
}

}  // namespace

// video_parameter_set_rbsp(), H.265 7.3.2.1, its first elements
std::optional<HevcVps> ReadHevcVps(CElementReader& bits)
{
    HevcVps vps;
    vps.vps_video_parameter_set_id = bits.Bits("vps_video_parameter_set_id", 4);
    bits.Flag("vps_base_layer_internal_flag");
    bits.Flag("vps_base_layer_available_flag");
    vps.vps_max_layers_minus1 = bits.Bits("vps_max_layers_minus1", 6);
    vps.vps_max_sub_layers_minus1 = bits.Bits("vps_max_sub_layers_minus1", 3);
    bits.Flag("vps_temporal_id_nesting_flag");
    return bits.PastEnd() ? std::nullopt : std::optional(vps);
}

// seq_parameter_set_rbsp(), H.265 7.3.2.2.1, up to the bit depths
std::optional<HevcSps> ReadHevcSps(CElementReader& bits)
{
    HevcSps sps = ReadSpsStart(bits);
    sps.chroma_format_idc = bits.Ue("chroma_format_idc");
    if (sps.chroma_format_idc == 3)
        bits.Flag("separate_colour_plane_flag");
    bits.Ue("pic_width_in_luma_samples");
    bits.Ue("pic_height_in_luma_samples");
    if (bits.Flag("conformance_window_flag")) {
        bits.Ue("conf_win_left_offset");
        bits.Ue("conf_win_right_offset");
        bits.Ue("conf_win_top_offset");
        bits.Ue("conf_win_bottom_offset");
    }
    sps.bit_depth_luma_minus8 = bits.Ue("bit_depth_luma_minus8");
    sps.bit_depth_chroma_minus8 = bits.Ue("bit_depth_chroma_minus8");
    return bits.PastEnd() ? std::nullopt : std::optional(sps);
}

// pic_parameter_set_rbsp(), H.265 7.3.2.3.1, its first elements
std::optional<HevcPps> ReadHevcPps(CElementReader& bits)
{
    HevcPps pps;
    pps.pps_pic_parameter_set_id = bits.Ue("pps_pic_parameter_set_id");
    pps.pps_seq_parameter_set_id = bits.Ue("pps_seq_parameter_set_id");
    bits.Flag("dependent_slice_segments_enabled_flag");
    bits.Flag("output_flag_present_flag");
    bits.Bits("num_extra_slice_header_bits", 3);
    bits.Flag("sign_data_hiding_enabled_flag");
    bits.Flag("cabac_init_present_flag");
    return bits.PastEnd() ? std::nullopt : std::optional(pps);
}

// slice_segment_header(), H.265 7.3.6.1, its first elements
std::optional<HevcSliceHeader> ReadHevcSliceHeader(const NalUnit& unit, CElementReader& bits)
{
    HevcSliceHeader slice;
    slice.first_slice_segment_in_pic_flag = bits.Flag("first_slice_segment_in_pic_flag");
    if (IsIrap(unit))
        bits.Flag("no_output_of_prior_pics_flag");
    slice.slice_pic_parameter_set_id = bits.Ue("slice_pic_parameter_set_id");
    return bits.PastEnd() ? std::nullopt : std::optional(slice);
}

uint32_t ReadHevcSpsId(CElementReader& bits)
{
    return ReadSpsStart(bits).sps_seq_parameter_set_id;
}

}  // namespace tool
