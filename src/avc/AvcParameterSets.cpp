#include "analysis/SequenceInfo.h"
#include "avc/ParseAVCParams.h"
#include "memory/HeapBuffer.h"

#include <algorithm>
#include <iterator>

namespace videoparams {

namespace {

// The values of profile_idc whose parameter sets carry chroma format, bit depths and scaling lists.
constexpr uint32_t HighProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134};

bool IsHighProfile(uint32_t profile_idc)
{
    return std::find(std::begin(HighProfiles), std::end(HighProfiles), profile_idc) != std::end(HighProfiles);
}

// An identifier seen before keeps its record, with the new values.
template <typename Record>
Result StoreRecord(Record*& slot, const Record& record)
{
    if (slot == nullptr && !AllocateBuffer(slot, 1))
        return ResultFailed;
    *slot = record;
    return ResultOk;
}

}  // namespace

uint32_t AvcPictureSize::Width() const
{
    const uint32_t cropUnitX = ChromaSubsampling(chroma_format_idc).width;
    return CroppedSize((pic_width_in_mbs_minus1 + 1) * 16, cropUnitX, frame_crop_left_offset,
                       frame_crop_right_offset);
}

uint32_t AvcPictureSize::Height() const
{
    const uint32_t fieldFactor = 2 - frame_mbs_only_flag;
    const uint32_t cropUnitY = ChromaSubsampling(chroma_format_idc).height * fieldFactor;
    return CroppedSize((pic_height_in_map_units_minus1 + 1) * fieldFactor * 16, cropUnitY,
                       frame_crop_top_offset, frame_crop_bottom_offset);
}

// seq_parameter_set_data(), H.264 7.3.2.1.1, up to the timing information of the VUI
Result CParseAVCParams::ReadSequenceParameterSetData(VideoInfo* info)
{
    SpsRecord sps{};
    AvcPictureSize size;

    const uint32_t profile_idc = ReadData(8);
    ReadData(8);  // constraint_set0_flag … constraint_set5_flag, reserved_zero_2bits
    ReadData(8);  // level_idc
    sps.seq_parameter_set_id = GetUE();
    if (IsHighProfile(profile_idc))
        size.chroma_format_idc = ReadChromaFormat(sps);
    sps.log2_max_frame_num_minus4 = GetUE();
    ReadPictureOrderCount(sps);
    GetUE();  // max_num_ref_frames
    sps.gaps_in_frame_num_value_allowed_flag = ReadData(1);
    ReadPictureSize(sps, size);
    if (readPastEnd || sps.seq_parameter_set_id >= MaxSpsCount)
        return ResultOk;

    info->width = size.Width();
    info->height = size.Height();
    const uint32_t vui_parameters_present_flag = ReadData(1);
    if (vui_parameters_present_flag)
        ReadVui(*info);
    info->sequenceInfoValid = 1;
    return StoreRecord(spsTable[sps.seq_parameter_set_id], sps);
}

uint32_t CParseAVCParams::ReadChromaFormat(SpsRecord& sps)
{
    const uint32_t chroma_format_idc = GetUE();
    if (chroma_format_idc == 3)
        sps.separate_colour_plane_flag = ReadData(1);
    GetUE();      // bit_depth_luma_minus8
    GetUE();      // bit_depth_chroma_minus8
    ReadData(1);  // qpprime_y_zero_transform_bypass_flag
    const uint32_t seq_scaling_matrix_present_flag = ReadData(1);
    if (seq_scaling_matrix_present_flag)
        SkipScalingLists(chroma_format_idc);
    return chroma_format_idc;
}

void CParseAVCParams::SkipScalingLists(uint32_t chroma_format_idc)
{
    const uint32_t listCount = chroma_format_idc == 3 ? 12 : 8;
    for (uint32_t i = 0; i < listCount; ++i) {
        const uint32_t seq_scaling_list_present_flag = ReadData(1);
        if (seq_scaling_list_present_flag)
            SkipScalingList(i < 6 ? 16 : 64);
    }
}

// scaling_list(), H.264 7.3.2.1.1.1
void CParseAVCParams::SkipScalingList(uint32_t sizeOfScalingList)
{
    uint32_t lastScale = 8;
    uint32_t nextScale = 8;
    for (uint32_t j = 0; j < sizeOfScalingList && nextScale != 0; ++j) {
        const auto delta_scale = static_cast<uint32_t>(GetSE());
        nextScale = (lastScale + delta_scale + 256) % 256;
        lastScale = nextScale;
    }
}

void CParseAVCParams::ReadPictureOrderCount(SpsRecord& sps)
{
    sps.pic_order_cnt_type = GetUE();
    if (sps.pic_order_cnt_type == 0) {
        sps.log2_max_pic_order_cnt_lsb_minus4 = GetUE();
    } else if (sps.pic_order_cnt_type == 1) {
        sps.delta_pic_order_always_zero_flag = ReadData(1);
        GetSE();  // offset_for_non_ref_pic
        GetSE();  // offset_for_top_to_bottom_field
        const uint32_t num_ref_frames_in_pic_order_cnt_cycle = GetUE();
        for (uint32_t i = 0; i < num_ref_frames_in_pic_order_cnt_cycle && !readPastEnd; ++i)
            GetSE();  // offset_for_ref_frame[ i ]
    }
}

void CParseAVCParams::ReadPictureSize(SpsRecord& sps, AvcPictureSize& size)
{
    size.pic_width_in_mbs_minus1 = GetUE();
    size.pic_height_in_map_units_minus1 = GetUE();
    sps.frame_mbs_only_flag = ReadData(1);
    size.frame_mbs_only_flag = sps.frame_mbs_only_flag;
    if (!sps.frame_mbs_only_flag)
        ReadData(1);  // mb_adaptive_frame_field_flag
    ReadData(1);      // direct_8x8_inference_flag
    const uint32_t frame_cropping_flag = ReadData(1);
    if (frame_cropping_flag) {
        size.frame_crop_left_offset = GetUE();
        size.frame_crop_right_offset = GetUE();
        size.frame_crop_top_offset = GetUE();
        size.frame_crop_bottom_offset = GetUE();
    }
}

// vui_parameters(), H.264 E.1.1, up to fixed_frame_rate_flag
void CParseAVCParams::ReadVui(VideoInfo& info)
{
    ReadVuiVideoDescription(info);
    const uint32_t timing_info_present_flag = ReadData(1);
    if (!timing_info_present_flag)
        return;
    const uint32_t num_units_in_tick = ReadData(32);
    const uint32_t time_scale = ReadData(32);
    ReadData(1);  // fixed_frame_rate_flag

    if (readPastEnd)
        return;
    info.frameRateNumerator = time_scale;
    info.frameRateDenominator = 2 * num_units_in_tick;
}

// pic_parameter_set_rbsp(), H.264 7.3.2.2, its first four elements
Result CParseAVCParams::ReadPictureParameterSetData(VideoInfo* /*info*/)
{
    PpsRecord pps{};
    pps.pic_parameter_set_id = GetUE();
    pps.seq_parameter_set_id = GetUE();
    ReadData(1);  // entropy_coding_mode_flag
    pps.bottom_field_pic_order_in_frame_present_flag = ReadData(1);

    if (readPastEnd || pps.pic_parameter_set_id >= MaxPpsCount)
        return ResultOk;
    return StoreRecord(ppsTable[pps.pic_parameter_set_id], pps);
}

}  // namespace videoparams
