#include "check/AvcContinuity.h"

namespace gstvp {

namespace {

constexpr guint8 RefIdcMask = 0x60;  // nal_ref_idc, H.264 7.3.1

int64_t TestSample(void* handle, const CAccessUnitHead& head, VideoInfoEx& test)
{
    test = VideoInfoEx{};
    return VideoSampleTest(handle, const_cast<unsigned char*>(head.All().data()),
                           static_cast<unsigned int>(head.All().size()), &test);
}

}  // namespace

bool CAvcContinuity::Create()
{
    return ParseCreate(tester.Renew(), VideoCodecAVC, 0, 0) == 0 &&
           ParseCreate(scout.Renew(), VideoCodecAVC, 0, 0) == 0;
}

void CAvcContinuity::Restart()
{
    isAfterFirstField = false;
    hasReference = false;
    isGapSuspected = false;
}

ContinuityResult CAvcContinuity::Test(const CAccessUnitHead& head)
{
    if (IsSecondField(head))
        return {};
    VideoInfoEx test;
    const int64_t result = TestSample(tester, head, test);
    if (result != 0 && test.sampleError)
        return {ContinuityOutcome::ParameterSetsMissing};
    if (result != 0)
        return {};
    const bool isReference = (head.FirstSlice().HeaderByte() & RefIdcMask) != 0;
    if (!IsGap(test.sampleError != 0, isReference, head.IsKey()))
        return {};
    return {ContinuityOutcome::ReferencesMissing};
}

// The second field of a pair repeats the frame_num of the first. The library cannot always distinguish the
// two, so second fields are left out. An IDR picture is never one.
bool CAvcContinuity::IsSecondField(const CAccessUnitHead& head)
{
    VideoInfoEx test;
    const bool isField = TestSample(scout, head, test) == 0 && !test.isFrame;
    const bool isSecond = isField && isAfterFirstField && !head.IsKey();
    isAfterFirstField = isField && !isSecond;
    return isSecond;
}

// Some encoders repeat frame_num in pictures that are no references, and nothing is missing. Such a picture
// is a suspicion only, until the next reference picture is flagged too. An IDR picture is never flagged:
// there the suspicion counts, unless the stream is known to repeat.
bool CAvcContinuity::IsGap(bool isFlagged, bool isReference, bool isKey)
{
    if (!hasReference) {
        hasReference = isReference;
        return false;
    }
    if (!isReference) {
        isGapSuspected = isGapSuspected || isFlagged;
        return false;
    }
    const bool isGap = isFlagged || (isKey && isGapSuspected && !repeatsFrameNum);
    repeatsFrameNum = repeatsFrameNum || (isGapSuspected && !isFlagged && !isKey);
    isGapSuspected = false;
    return isGap;
}

}  // namespace gstvp
