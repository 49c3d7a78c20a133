#include "stream/StreamAnalysis.h"

#include <algorithm>
#include <new>

namespace tool {

namespace {

// The library ignores shorter buffers.
constexpr uint32_t ShortestUnit = 5;

// A slice header lies well within it.
constexpr uint32_t SliceHeadSize = 256;

}  // namespace

UnitRole CStreamAnalysis::Take(const NalUnit& unit)
{
    isCompleted = false;
    if (ParseVideoParams(parser, unit.data, unit.size, &completed.info) != 0 && !unit.ForbiddenZeroBit())
        throw std::bad_alloc();
    if (unit.ForbiddenZeroBit()) {
        ++damage.damagedUnits;
        damage.bytes += unit.size;
        return UnitRole::Unreadable;
    }
    if (unit.IsSlice())
        return TakeSlice(unit);
    if (unit.IsSps() || unit.IsPps())
        VideoSampleTest(probe, unit.data, unit.size, &sliceInfo);
    const bool isLeading = unit.Class() == UnitClass::Leading;
    if (unit.isOutOfBand)
        return UnitRole::Other;
    if (isLeading && heldSize == 0)
        heldOffset = unit.offset;
    if (isLeading || heldSize != 0)
        heldSize += unit.size;
    else if (current.hasSlice)
        current.size += unit.size;
    return isLeading ? UnitRole::Leading : UnitRole::Other;
}

UnitRole CStreamAnalysis::TakeSlice(const NalUnit& unit)
{
    if (!ReadsSlice(unit)) {
        ++damage.lostSlices;
        damage.bytes += unit.size;
        return UnitRole::Unreadable;
    }
    const bool isFirst = !current.hasSlice || completed.info.accessUnitFound;
    if (isFirst) {
        const uint64_t number = current.hasSlice ? current.number + 1 : 0;
        if (current.hasSlice)
            Complete();
        current = AccessUnit{};
        current.number = number;
        current.offset = heldSize != 0 ? heldOffset : unit.offset;
        current.hasSlice = true;
        current.sample = unit.sample;
        if (unit.codec == VideoCodecAVC) {
            VideoPicType type = VideoPicUnknown;
            QueryType(probe, unit.data, std::min(unit.size, SliceHeadSize), type);
            current.slice_type = type;
            current.isField = !sliceInfo.isFrame;
        }
    }
    current.size += heldSize + unit.size;
    heldSize = 0;
    return isFirst ? UnitRole::FirstSlice : UnitRole::FurtherSlice;
}

bool CStreamAnalysis::ReadsSlice(const NalUnit& unit)
{
    return unit.size >= ShortestUnit &&
           VideoSampleTest(probe, unit.data, std::min(unit.size, SliceHeadSize), &sliceInfo) == 0;
}

// Leading units at the end of a stream count as the last access unit's, as in the analysis.
void CStreamAnalysis::Finish()
{
    isCompleted = false;
    ParseVideoParams(parser, nullptr, 0, &completed.info);
    current.size += heldSize;
    heldSize = 0;
    if (completed.info.accessUnitFound)
        Complete();
}

void CStreamAnalysis::Complete()
{
    const VideoInfo info = completed.info;
    completed = current;
    completed.info = info;
    completed.isKeyFrame = info.keyFrame != 0;
    completed.hasSequence = info.sequenceInfoValid != 0;
    isCompleted = true;
}

}  // namespace tool
