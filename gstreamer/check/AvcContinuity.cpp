#include "check/AvcContinuity.h"

namespace gstvp {

namespace {

tool::NalUnit UnitOf(const NalUnit& unit)
{
    return {
        .codec = VideoCodecAVC, .data = unit.bytes.data(), .size = static_cast<uint32_t>(unit.bytes.size())};
}

}  // namespace

ContinuityResult CAvcContinuity::Test(const CAccessUnitHead& head)
{
    for (const NalUnit& unit : head.LeadingUnits())
        continuity.TakeParameterSet(UnitOf(unit));
    switch (continuity.TakePicture(UnitOf(head.FirstSlice())).outcome) {
    case tool::FrameNumOutcome::PicturesMissing:
        return {ContinuityOutcome::ReferencesMissing};
    case tool::FrameNumOutcome::ParameterSetsUnknown:
        return {ContinuityOutcome::ParameterSetsMissing};
    default:
        return {};
    }
}

}  // namespace gstvp
