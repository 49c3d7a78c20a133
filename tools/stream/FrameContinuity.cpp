#include "stream/FrameContinuity.h"

namespace tool {

namespace {

constexpr uint32_t MaxLog2FrameNumMinus4 = 12;

}  // namespace

void CFrameContinuity::TakeParameterSet(const NalUnit& unit)
{
    CElementReader bits(unit);
    if (unit.IsSps()) {
        const std::optional<AvcSps> sps = ReadAvcSps(bits);
        if (sps && sps->log2_max_frame_num_minus4 <= MaxLog2FrameNumMinus4)
            sequenceSets[sps->seq_parameter_set_id] = *sps;
    } else if (unit.IsPps()) {
        const std::optional<AvcPps> pps = ReadAvcPps(bits);
        if (pps)
            pictureSets[pps->pic_parameter_set_id] = *pps;
    }
}

void CFrameContinuity::Forget()
{
    prevRefFrameNum.reset();
    firstField.reset();
}

FrameNumResult CFrameContinuity::TakePicture(const NalUnit& slice)
{
    CElementReader start(slice);
    const auto pps = pictureSets.find(ReadAvcSliceStart(slice, start).pic_parameter_set_id);
    const auto sps =
        pps == pictureSets.end() ? sequenceSets.end() : sequenceSets.find(pps->second.seq_parameter_set_id);
    if (sps == sequenceSets.end()) {
        Forget();
        return {FrameNumOutcome::ParameterSetsUnknown};
    }
    CElementReader bits(slice);
    const std::optional<AvcSliceHeader> header = ReadAvcSliceHeader(slice, sps->second, pps->second, bits);
    if (!header) {
        Forget();
        return {};
    }
    const bool isSecondField = IsSecondField(*header);
    const bool isCompared = prevRefFrameNum && !slice.IsIdrSlice() && !isSecondField;
    const FrameNumResult result = isCompared ? Compare(*header, sps->second) : FrameNumResult();

    // After operation 5, the picture counts as one with frame_num 0.
    const uint32_t frame_num = header->hasOperation5 ? 0 : header->frame_num;
    if (header->nal_ref_idc != 0)
        prevRefFrameNum = frame_num;
    firstField.reset();
    if (header->field_pic_flag && !isSecondField)
        firstField = Field{header->bottom_field_flag, frame_num};
    return result;
}

bool CFrameContinuity::IsSecondField(const AvcSliceHeader& slice) const
{
    return firstField && slice.field_pic_flag && slice.bottom_field_flag != firstField->isBottom &&
           slice.frame_num == firstField->frame_num && slice.nal_unit_type != videoparams::AvcUnitIdrSlice;
}

// A picture that is no reference may repeat the value: nothing is lost.
FrameNumResult CFrameContinuity::Compare(const AvcSliceHeader& slice, const AvcSps& sps)
{
    const uint32_t MaxFrameNum = 1u << (sps.log2_max_frame_num_minus4 + 4);
    const uint32_t expected = (*prevRefFrameNum + 1) % MaxFrameNum;
    const bool isReference = slice.nal_ref_idc != 0;
    if (slice.frame_num == expected || (!isReference && slice.frame_num == *prevRefFrameNum))
        return {};
    prevRefFrameNum = (slice.frame_num + MaxFrameNum - 1) % MaxFrameNum;  // one finding for each gap
    if (sps.gaps_in_frame_num_value_allowed_flag)
        return {};
    return {FrameNumOutcome::PicturesMissing, slice.frame_num, expected};
}

}  // namespace tool
