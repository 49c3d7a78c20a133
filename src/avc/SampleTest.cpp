#include "avc/SampleTest.h"

namespace videoparams {

namespace {

bool IsIntraSlice(const SliceHeaderRecord& slice)
{
    return slice.IdrPicFlag != 0 || slice.slice_type == VideoPicI || slice.slice_type == VideoPicAllI;
}

// 0 if it does not fit 32 bits.
uint32_t MaxFrameNum(const SpsRecord& sps)
{
    return sps.log2_max_frame_num_minus4 < 28 ? uint32_t{16} << sps.log2_max_frame_num_minus4 : 0;
}

}  // namespace

VideoInfoEx CSampleTest::TestSlice(const SliceHeaderRecord& slice, const SpsRecord& sps)
{
    VideoInfoEx test{};
    const bool isField = slice.field_pic_flag != 0;
    test.isFrame = isField ? 0 : 1;
    if (IsIntraSlice(slice)) {
        test.isIntra = 1;
        secondFieldParity = isField && slice.bottom_field_flag == 0 ? 1 : 0;
        if (isField)
            firstFieldHasGap = false;
    }
    if (!sps.gaps_in_frame_num_value_allowed_flag && !slice.IdrPicFlag) {
        const bool isGap = IsGap(slice, sps);
        test.sampleError = isGap ? 1 : 0;
        if (isField && !IsSecondField(slice))
            firstFieldHasGap = isGap;
    }
    if (slice.nal_ref_idc != 0)
        prevRefFrameNum = slice.frame_num;
    return test;
}

bool CSampleTest::IsSecondField(const SliceHeaderRecord& slice) const
{
    return slice.field_pic_flag != 0 && slice.bottom_field_flag == secondFieldParity;
}

// The frame_num test, H.264 7.4.3. A second field has the result of its first field. Without a MaxFrameNum
// nothing is a gap.
bool CSampleTest::IsGap(const SliceHeaderRecord& slice, const SpsRecord& sps) const
{
    const uint32_t maxFrameNum = MaxFrameNum(sps);
    if (maxFrameNum == 0)
        return false;
    if (IsSecondField(slice))
        return firstFieldHasGap;
    return slice.frame_num != (prevRefFrameNum + 1) % maxFrameNum;
}

}  // namespace videoparams
