#include "inspect/StreamCheck.h"

#include <fmt/format.h>

namespace tool {

namespace {

std::vector<Finding> FindingsOf(const std::vector<OrderFinding>& found)
{
    std::vector<Finding> findings;
    findings.reserve(found.size());
    for (const OrderFinding& finding : found)
        findings.push_back({FindingPlace::Unit, finding.unit, finding.offset, finding.text});
    return findings;
}

}  // namespace

std::vector<Finding> CStreamCheck::Take(const NalUnit& unit, UnitRole role, const CStreamAnalysis& analysis)
{
    std::vector<Finding> findings = FindingsOf(order.Take(unit, role));
    if (role == UnitRole::Unreadable)
        findings.push_back(
            {FindingPlace::Unit, unit.number, unit.offset,
             unit.ForbiddenZeroBit() ? "forbidden_zero_bit is 1" : "slice whose parameter sets are unknown"});
    if (unit.codec != VideoCodecAVC)
        return findings;
    if (role == UnitRole::FirstSlice) {
        const AccessUnit& picture = analysis.Current();
        const FrameNumResult result = continuity.TakePicture(unit);
        if (result.outcome == FrameNumOutcome::PicturesMissing)
            findings.push_back({FindingPlace::AccessUnit, picture.number, picture.offset,
                                fmt::format("frame_num {}, expected {}: pictures may be missing",
                                            result.frame_num, result.expected)});
    } else if (role == UnitRole::Leading || unit.isOutOfBand) {
        continuity.TakeParameterSet(unit);
    }
    return findings;
}

std::vector<Finding> CStreamCheck::Finish()
{
    return FindingsOf(order.Finish());
}

}  // namespace tool
