#include "avc/ParseAVCParams.h"

namespace videoparams {

namespace {

bool IsIntraSlice(uint32_t nal_unit_type, uint32_t slice_type)
{
    return nal_unit_type == AvcUnitIdrSlice || slice_type == VideoPicI || slice_type == VideoPicAllI;
}

}  // namespace

Result CParseAVCParams::QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type)
{
    type = VideoPicUnknown;
    if (data == nullptr)
        return ResultFailed;
    SetData(data, size);
    Result result = ResultFailed;
    while (true) {
        BeginNextUnit(avcRules);
        if (openUnit.IsEmpty() || openUnit.header.forbidden_zero_bit == 1)
            break;
        if (openUnit.header.nal_unit_type == AvcUnitSlice ||
            openUnit.header.nal_unit_type == AvcUnitIdrSlice) {
            result = OpenHead(avcRules);
            if (result == ResultOk) {
                GetUE();  // first_mb_in_slice
                type = static_cast<VideoPicType>(GetUE());
            }
            break;
        }
    }
    EndScan();
    return result;
}

Result CParseAVCParams::VideoSampleTest(const unsigned char* data, uint32_t size, VideoInfoEx* test)
{
    if (test == nullptr)
        return ResultFailed;
    *test = VideoInfoEx{};
    SetData(data, size);
    Reset();
    bool found = false;
    Result result = OpenFirstSlice(found);
    if (found) {
        int32_t newPicture = 0;
        result = ReadSliceHeaderData(nullptr, openUnit.header.nal_unit_type, openUnit.header.nal_ref_idc,
                                     &newPicture);
        if (result == ResultOk)
            TestSlice(*test);
        else if (rbspBuffer != nullptr)  // else there was no memory to read the header
            test->sampleError = 1;
    }
    EndScan();
    return result;
}

// Reads the parameter sets in front of the first slice into the tables.
Result CParseAVCParams::OpenFirstSlice(bool& found)
{
    VideoInfo scratch{};
    while (true) {
        const Result begun = BeginNextUnit(avcRules);
        if (openUnit.IsEmpty())
            return begun;
        const uint32_t nal_unit_type = openUnit.header.nal_unit_type;
        if (avcRules.TraitsOf(nal_unit_type).unitClass == UnitClass::Slice) {
            const Result opened = OpenHead(avcRules);
            found = opened == ResultOk;
            return opened;
        }
        if (avcRules.TraitsOf(nal_unit_type).isParameterSet &&
            (OpenWhole(avcRules) != ResultOk || ReadParameterSet(scratch) != ResultOk))
            return ResultFailed;
    }
}

void CParseAVCParams::TestSlice(VideoInfoEx& test)
{
    frameNum = sliceHeader.frame_num;
    test.isFrame = sliceHeader.field_pic_flag ? 0 : 1;
    if (IsIntraSlice(openUnit.header.nal_unit_type, sliceHeader.slice_type)) {
        if (sliceHeader.field_pic_flag) {
            secondFieldParity = sliceHeader.bottom_field_flag ? 0 : 1;
            firstFieldGap = 0;
        } else {
            secondFieldParity = 0;
        }
        test.isIntra = 1;
    }
    if (!gapsInFrameNumAllowed && openUnit.header.nal_unit_type != AvcUnitIdrSlice)
        test.sampleError = BreaksSequence() ? 1 : 0;
    if (openUnit.header.nal_ref_idc != 0)
        prevRefFrameNum = frameNum;
}

// The frame_num test, H.264 7.4.3. A second field answers as its first field did. Without a MaxFrameNum
// nothing can be said.
bool CParseAVCParams::BreaksSequence()
{
    const bool isField = sliceHeader.field_pic_flag != 0;
    if (isField && sliceHeader.bottom_field_flag == secondFieldParity)
        return maxFrameNum != 0 && firstFieldGap == 1;
    const bool gap = maxFrameNum != 0 && frameNum != (prevRefFrameNum + 1) % maxFrameNum;
    if (isField)
        firstFieldGap = gap ? 1 : 0;
    return gap;
}

}  // namespace videoparams
