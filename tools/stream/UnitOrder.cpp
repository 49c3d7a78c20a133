#include "stream/UnitOrder.h"

#include "stream/ParameterSetId.h"

#include <fmt/format.h>
#include <utility>

namespace tool {

namespace {

// More findings before one slice add nothing.
constexpr size_t MaxNoted = 100;

OrderFinding FindingOf(const NalUnit& unit, const std::string& text)
{
    return {unit.number, unit.offset, fmt::format("{} {}", UnitTypeName(unit.codec, unit.Type()), text)};
}

}  // namespace

std::vector<OrderFinding> CUnitOrder::Take(const NalUnit& unit, UnitRole role)
{
    if (role == UnitRole::Leading)
        TakeLeading(unit);
    else if (unit.isOutOfBand && unit.IsParameterSet())
        TakeParameterSet(unit);
    if (role != UnitRole::FirstSlice && role != UnitRole::FurtherSlice)
        return {};
    LeadingUnits done = std::exchange(leading, {});
    return std::move(role == UnitRole::FirstSlice ? done.misplaced : done.present);
}

std::vector<OrderFinding> CUnitOrder::Finish()
{
    if (leading.count != 0)
        leading.misplaced.push_back(
            {leading.firstUnit, leading.firstOffset, "there is no picture from here on"});
    return std::move(leading.misplaced);
}

void CUnitOrder::TakeLeading(const NalUnit& unit)
{
    const bool isNoted = leading.present.size() < MaxNoted && leading.misplaced.size() < MaxNoted;
    if (isNoted && (unit.IsParameterSet() || unit.IsDelimiter() || unit.IsSei()))
        leading.present.push_back(FindingOf(unit, "is between slices of one picture"));
    if (isNoted && unit.IsDelimiter())
        TakeDelimiter(unit);
    if (isNoted && unit.IsParameterSet())
        TakeParameterSet(unit);
    if (leading.count++ == 0) {
        leading.firstUnit = unit.number;
        leading.firstOffset = unit.offset;
    }
}

void CUnitOrder::TakeDelimiter(const NalUnit& unit)
{
    if (leading.hasDelimiter)
        leading.misplaced.push_back(FindingOf(unit, "is the second one before one picture"));
    else if (leading.count != 0)
        leading.misplaced.push_back(FindingOf(unit, "is not the first unit of its access unit"));
    leading.hasDelimiter = true;
}

// A set comes too late if an earlier one needs it and it was not sent before. A set that is sent again may
// come after those that refer to it.
void CUnitOrder::TakeParameterSet(const NalUnit& unit)
{
    const uint32_t id = ReadParameterSetId(unit);
    if (unit.IsVps() && leading.neededVps.contains(id))
        leading.misplaced.push_back(
            FindingOf(unit, fmt::format("{} comes after an SPS that refers to it", id)));
    if (unit.IsSps() && leading.neededSps.contains(id))
        leading.misplaced.push_back(
            FindingOf(unit, fmt::format("{} comes after a PPS that refers to it", id)));
    if (unit.IsVps())
        sentVps.insert(id);
    if (unit.IsSps())
        sentSps.insert(id);
    const uint32_t referredId = unit.IsVps() ? 0 : ReadReferredId(unit);
    if (unit.IsPps() && !sentSps.contains(referredId))
        leading.neededSps.insert(referredId);
    if (unit.IsSps() && unit.codec == VideoCodecHEVC && !sentVps.contains(referredId))
        leading.neededVps.insert(referredId);
}

}  // namespace tool
