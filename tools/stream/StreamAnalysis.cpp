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
    report = {};
    if (unit.ForbiddenZeroBit()) {
        ++damage.damagedUnits;
        damage.bytes += unit.size;
        return UnitRole::Unreadable;
    }
    if (unit.LayerId() != 0) {
        furtherLayers.insert(unit.LayerId());
        return TakeOther(unit, false);
    }
    if (unit.IsSlice() && !parameters.Knows(unit))
        return LoseSlice(unit);
    if (ParseVideoParams(parser, unit.data, unit.size, &report) != 0)
        throw std::bad_alloc();
    if (unit.IsSlice())
        return TakeSlice(unit);
    parameters.Take(unit);
    if (unit.IsSps() || unit.IsPps())
        VideoSampleTest(probe, unit.data, unit.size, &sliceInfo);
    if (unit.isOutOfBand)
        return UnitRole::Other;
    return TakeOther(unit, unit.Class() == UnitClass::Leading);
}

UnitRole CStreamAnalysis::TakeOther(const NalUnit& unit, bool isLeading)
{
    if (isLeading && heldSize == 0)
        heldOffset = unit.offset;
    if (isLeading || heldSize != 0)
        heldSize += unit.size;
    else if (current.hasSlice)
        current.size += unit.size;
    return isLeading ? UnitRole::Leading : UnitRole::Other;
}

UnitRole CStreamAnalysis::LoseSlice(const NalUnit& unit)
{
    ++damage.lostSlices;
    damage.bytes += unit.size;
    return UnitRole::Unreadable;
}

UnitRole CStreamAnalysis::TakeSlice(const NalUnit& unit)
{
    if (!ReadsSlice(unit))
        return LoseSlice(unit);
    const bool isFirst = !current.hasSlice || report.accessUnitFound;
    if (isFirst) {
        const uint64_t number = current.hasSlice ? current.number + 1 : 0;
        if (current.hasSlice)
            Complete();
        current = AccessUnit{};
        current.number = number;
        current.offset = heldSize != 0 ? heldOffset : unit.offset;
        current.hasSlice = true;
        current.sample = unit.sample;
        current.format = parameters.FormatOf(unit);
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
    ParseVideoParams(parser, nullptr, 0, &report);
    current.size += heldSize;
    heldSize = 0;
    if (report.accessUnitFound)
        Complete();
}

void CStreamAnalysis::Complete()
{
    const bool isKeyFrame = report.keyFrame != 0;
    completed = current;
    completed.isKeyFrame = isKeyFrame;
    isCompleted = true;
}

}  // namespace tool
