#include "avc/AvcParameterSets.h"

#include <algorithm>
#include <iterator>

namespace videoparams {

namespace {

// Picture size as a sequence parameter set codes it.
struct AvcPictureSize
{
    uint32_t chroma_format_idc = 1;
    uint32_t pic_width_in_mbs_minus1 = 0;
    uint32_t pic_height_in_map_units_minus1 = 0;
    uint32_t frame_mbs_only_flag = 0;
    uint32_t frame_crop_left_offset = 0;
    uint32_t frame_crop_right_offset = 0;
    uint32_t frame_crop_top_offset = 0;
    uint32_t frame_crop_bottom_offset = 0;

    uint32_t Width() const
    {
        const uint32_t cropUnitX = ChromaSubsampling(chroma_format_idc).width;
        return CroppedSize((pic_width_in_mbs_minus1 + 1) * 16, cropUnitX, frame_crop_left_offset,
                           frame_crop_right_offset);
    }

    uint32_t Height() const
    {
        const uint32_t fieldFactor = 2 - frame_mbs_only_flag;
        const uint32_t cropUnitY = ChromaSubsampling(chroma_format_idc).height * fieldFactor;
        return CroppedSize((pic_height_in_map_units_minus1 + 1) * fieldFactor * 16, cropUnitY,
                           frame_crop_top_offset, frame_crop_bottom_offset);
    }
};

// The values of profile_idc whose parameter sets carry chroma format, bit depths and scaling lists.
constexpr uint32_t HighProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134};

bool IsHighProfile(uint32_t profile_idc)
{
    return std::find(std::begin(HighProfiles), std::end(HighProfiles), profile_idc) != std::end(HighProfiles);
}

// scaling_list(), H.264 7.3.2.1.1.1
void SkipScalingList(CBitReader& bits, uint32_t sizeOfScalingList)
{
    uint32_t lastScale = 8;
    uint32_t nextScale = 8;
    for (uint32_t j = 0; j < sizeOfScalingList && nextScale != 0; ++j) {
        const auto delta_scale = static_cast<uint32_t>(bits.Se());
        nextScale = (lastScale + delta_scale + 256) % 256;
        lastScale = nextScale;
    }
}

void SkipScalingLists(CBitReader& bits, uint32_t chroma_format_idc)
{
    const uint32_t listCount = chroma_format_idc == 3 ? 12 : 8;
    for (uint32_t i = 0; i < listCount; ++i) {
        const uint32_t seq_scaling_list_present_flag = bits.Bits(1);
        if (seq_scaling_list_present_flag)
            SkipScalingList(bits, i < 6 ? 16 : 64);
    }
}

// Chroma format, bit depths and scaling lists, which only high profiles code.
uint32_t ReadChromaFormat(CBitReader& bits, SpsRecord& sps)
{
    const uint32_t chroma_format_idc = bits.Ue();
    if (chroma_format_idc == 3)
        sps.separate_colour_plane_flag = bits.Bits(1);
    bits.Ue();     // bit_depth_luma_minus8
    bits.Ue();     // bit_depth_chroma_minus8
    bits.Bits(1);  // qpprime_y_zero_transform_bypass_flag
    const uint32_t seq_scaling_matrix_present_flag = bits.Bits(1);
    if (seq_scaling_matrix_present_flag)
        SkipScalingLists(bits, chroma_format_idc);
    return chroma_format_idc;
}

void ReadPictureOrderCount(CBitReader& bits, SpsRecord& sps)
{
    sps.pic_order_cnt_type = bits.Ue();
    if (sps.pic_order_cnt_type == 0) {
        sps.log2_max_pic_order_cnt_lsb_minus4 = bits.Ue();
    } else if (sps.pic_order_cnt_type == 1) {
        sps.delta_pic_order_always_zero_flag = bits.Bits(1);
        bits.Se();  // offset_for_non_ref_pic
        bits.Se();  // offset_for_top_to_bottom_field
        const uint32_t num_ref_frames_in_pic_order_cnt_cycle = bits.Ue();
        for (uint32_t i = 0; i < num_ref_frames_in_pic_order_cnt_cycle && !bits.PastEnd(); ++i)
            bits.Se();  // offset_for_ref_frame[ i ]
    }
}

void ReadPictureSize(CBitReader& bits, SpsRecord& sps, AvcPictureSize& size)
{
    size.pic_width_in_mbs_minus1 = bits.Ue();
    size.pic_height_in_map_units_minus1 = bits.Ue();
    sps.frame_mbs_only_flag = bits.Bits(1);
    size.frame_mbs_only_flag = sps.frame_mbs_only_flag;
    if (!sps.frame_mbs_only_flag)
        bits.Bits(1);  // mb_adaptive_frame_field_flag
    bits.Bits(1);      // direct_8x8_inference_flag
    const uint32_t frame_cropping_flag = bits.Bits(1);
    if (frame_cropping_flag) {
        size.frame_crop_left_offset = bits.Ue();
        size.frame_crop_right_offset = bits.Ue();
        size.frame_crop_top_offset = bits.Ue();
        size.frame_crop_bottom_offset = bits.Ue();
    }
}

// vui_parameters(), H.264 E.1.1, up to fixed_frame_rate_flag
void ReadVui(CBitReader& bits, SequenceInfo& info)
{
    ReadVideoDescription(bits, info);
    const uint32_t timing_info_present_flag = bits.Bits(1);
    if (!timing_info_present_flag)
        return;
    const uint32_t num_units_in_tick = bits.Bits(32);
    const uint32_t time_scale = bits.Bits(32);
    bits.Bits(1);  // fixed_frame_rate_flag

    if (bits.PastEnd())
        return;
    info.frameRateNumerator = time_scale;
    info.frameRateDenominator = 2 * num_units_in_tick;
}

}  // namespace

// seq_parameter_set_data(), H.264 7.3.2.1.1, up to the timing information of the VUI
bool ReadAvcSps(CBitReader& bits, SpsRecord& record, SequenceInfo& info)
{
    SpsRecord sps{};
    AvcPictureSize size;

    const uint32_t profile_idc = bits.Bits(8);
    bits.Bits(8);  // constraint_set0_flag … constraint_set5_flag, reserved_zero_2bits
    bits.Bits(8);  // level_idc
    sps.seq_parameter_set_id = bits.Ue();
    if (IsHighProfile(profile_idc))
        size.chroma_format_idc = ReadChromaFormat(bits, sps);
    sps.log2_max_frame_num_minus4 = bits.Ue();
    ReadPictureOrderCount(bits, sps);
    bits.Ue();  // max_num_ref_frames
    sps.gaps_in_frame_num_value_allowed_flag = bits.Bits(1);
    ReadPictureSize(bits, sps, size);
    if (bits.PastEnd() || sps.seq_parameter_set_id >= MaxSpsCount)
        return false;

    record = sps;
    info.width = size.Width();
    info.height = size.Height();
    const uint32_t vui_parameters_present_flag = bits.Bits(1);
    if (vui_parameters_present_flag)
        ReadVui(bits, info);
    info.sequenceInfoValid = 1;
    return true;
}

// pic_parameter_set_rbsp(), H.264 7.3.2.2, its first four elements
bool ReadAvcPps(CBitReader& bits, PpsRecord& record)
{
    PpsRecord pps{};
    pps.pic_parameter_set_id = bits.Ue();
    pps.seq_parameter_set_id = bits.Ue();
    bits.Bits(1);  // entropy_coding_mode_flag
    pps.bottom_field_pic_order_in_frame_present_flag = bits.Bits(1);

    if (bits.PastEnd() || pps.pic_parameter_set_id >= MaxPpsCount)
        return false;
    record = pps;
    return true;
}

}  // namespace videoparams
