#include "avc/ParseAVCParams.h"

namespace videoparams {

namespace {

// 0 where it does not fit 32 bits.
uint32_t MaxFrameNum(const SpsRecord& sps)
{
    return sps.log2_max_frame_num_minus4 < 28 ? uint32_t{16} << sps.log2_max_frame_num_minus4 : 0;
}

}  // namespace

const SpsRecord* CParseAVCParams::FindSps(uint32_t seq_parameter_set_id) const
{
    return seq_parameter_set_id < MaxSpsCount ? spsTable[seq_parameter_set_id] : nullptr;
}

const PpsRecord* CParseAVCParams::FindPps(uint32_t pic_parameter_set_id) const
{
    return pic_parameter_set_id < MaxPpsCount ? ppsTable[pic_parameter_set_id] : nullptr;
}

Result CParseAVCParams::ReadSliceHeaderData(VideoInfo* /*info*/, uint32_t nalUnitType, uint32_t nalRefIdc,
                                            int32_t* newPicture)
{
    *newPicture = 0;
    Result result = ReadSliceHeader(nalUnitType, nalRefIdc);
    if (HeadIsUsedUp()) {
        if (OpenWhole(avcRules) != ResultOk)
            return ResultFailed;
        result = ReadSliceHeader(nalUnitType, nalRefIdc);
    }
    if (result != ResultOk)
        return result;

    const SpsRecord& sps = *FindSps(FindPps(sliceHeader.pic_parameter_set_id)->seq_parameter_set_id);
    maxFrameNum = MaxFrameNum(sps);
    gapsInFrameNumAllowed = sps.gaps_in_frame_num_value_allowed_flag;
    if (accessUnits.firstSlice != 0)
        accessUnits.firstSlice = 0;
    else if (StartsNewPicture(sps))
        *newPicture = 1;
    prevSliceHeader = sliceHeader;
    return ResultOk;
}

// slice_header(), H.264 7.3.3, up to the picture order count. Fails where a parameter set is unknown.
Result CParseAVCParams::ReadSliceHeader(uint32_t nalUnitType, uint32_t nalRefIdc)
{
    sliceHeader = SliceHeaderRecord{};
    sliceHeader.first_mb_in_slice = GetUE();
    sliceHeader.slice_type = GetUE();
    sliceHeader.pic_parameter_set_id = GetUE();
    const PpsRecord* const pps = FindPps(sliceHeader.pic_parameter_set_id);
    const SpsRecord* const sps = pps != nullptr ? FindSps(pps->seq_parameter_set_id) : nullptr;
    if (sps == nullptr)
        return ResultFailed;

    if (sps->separate_colour_plane_flag)
        ReadData(2);  // colour_plane_id
    sliceHeader.frame_num = ReadData(BitsOf(sps->log2_max_frame_num_minus4));
    if (!sps->frame_mbs_only_flag) {
        sliceHeader.field_pic_flag = ReadData(1);
        if (sliceHeader.field_pic_flag)
            sliceHeader.bottom_field_flag = ReadData(1);
    }
    sliceHeader.nal_ref_idc = nalRefIdc;
    if (nalUnitType == AvcUnitIdrSlice) {
        sliceHeader.IdrPicFlag = 1;
        sliceHeader.idr_pic_id = GetUE();
    }
    const bool bottomIsCoded =
        pps->bottom_field_pic_order_in_frame_present_flag && !sliceHeader.field_pic_flag;
    if (sps->pic_order_cnt_type == 0) {
        sliceHeader.pic_order_cnt_lsb = ReadData(BitsOf(sps->log2_max_pic_order_cnt_lsb_minus4));
        if (bottomIsCoded)
            sliceHeader.delta_pic_order_cnt_bottom = static_cast<uint32_t>(GetSE());
    }
    if (sps->pic_order_cnt_type == 1 && !sps->delta_pic_order_always_zero_flag) {
        sliceHeader.delta_pic_order_cnt[0] = static_cast<uint32_t>(GetSE());
        if (bottomIsCoded)
            sliceHeader.delta_pic_order_cnt[1] = static_cast<uint32_t>(GetSE());
    }
    return ResultOk;
}

// Detection of the first VCL NAL unit of a primary coded picture, H.264 7.4.1.2.4
bool CParseAVCParams::StartsNewPicture(const SpsRecord& sps) const
{
    const SliceHeaderRecord& now = sliceHeader;
    const SliceHeaderRecord& before = prevSliceHeader;
    if (now.frame_num != before.frame_num || now.pic_parameter_set_id != before.pic_parameter_set_id ||
        now.field_pic_flag != before.field_pic_flag || now.IdrPicFlag != before.IdrPicFlag)
        return true;
    if (now.field_pic_flag && now.bottom_field_flag != before.bottom_field_flag)
        return true;
    if (now.nal_ref_idc != before.nal_ref_idc && (now.nal_ref_idc == 0 || before.nal_ref_idc == 0))
        return true;
    if (sps.pic_order_cnt_type == 0 && (now.pic_order_cnt_lsb != before.pic_order_cnt_lsb ||
                                        now.delta_pic_order_cnt_bottom != before.delta_pic_order_cnt_bottom))
        return true;
    if (sps.pic_order_cnt_type == 1 && (now.delta_pic_order_cnt[0] != before.delta_pic_order_cnt[0] ||
                                        now.delta_pic_order_cnt[1] != before.delta_pic_order_cnt[1]))
        return true;
    return now.IdrPicFlag && now.idr_pic_id != before.idr_pic_id;
}

}  // namespace videoparams
