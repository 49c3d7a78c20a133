#include "stream/UnitOrder.h"

#include "stream/ParameterSetId.h"

#include <fmt/format.h>
#include <utility>

namespace tool {

namespace {

// More in front of one slice say nothing new.
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
    if (role != UnitRole::FirstSlice && role != UnitRole::FurtherSlice)
        return {};
    CUnitOrder done = std::exchange(*this, CUnitOrder{});
    return std::move(role == UnitRole::FirstSlice ? done.misplaced : done.present);
}

std::vector<OrderFinding> CUnitOrder::Finish()
{
    if (leadingCount != 0)
        misplaced.push_back({firstUnit, firstOffset, "there is no picture from here on"});
    return std::move(misplaced);
}

void CUnitOrder::TakeLeading(const NalUnit& unit)
{
    const bool isParameterSet = unit.IsVps() || unit.IsSps() || unit.IsPps();
    const bool isNoted = present.size() < MaxNoted && misplaced.size() < MaxNoted;
    if (isNoted && (isParameterSet || unit.IsDelimiter() || unit.IsSei()))
        present.push_back(FindingOf(unit, "stands between slices of one picture"));
    if (isNoted && unit.IsDelimiter())
        TakeDelimiter(unit);
    if (isNoted && isParameterSet)
        TakeParameterSet(unit);
    if (leadingCount++ == 0) {
        firstUnit = unit.number;
        firstOffset = unit.offset;
    }
}

void CUnitOrder::TakeDelimiter(const NalUnit& unit)
{
    if (hasDelimiter)
        misplaced.push_back(FindingOf(unit, "is the second one in front of one picture"));
    else if (leadingCount != 0)
        misplaced.push_back(FindingOf(unit, "is not the first unit of its access unit"));
    hasDelimiter = true;
}

// A set that is sent behind one that refers to it comes too late.
void CUnitOrder::TakeParameterSet(const NalUnit& unit)
{
    const uint32_t id = ReadParameterSetId(unit);
    if (unit.IsVps() && referredVps.contains(id))
        misplaced.push_back(FindingOf(unit, fmt::format("{} stands behind an SPS that refers to it", id)));
    if (unit.IsSps() && referredSps.contains(id))
        misplaced.push_back(FindingOf(unit, fmt::format("{} stands behind a PPS that refers to it", id)));
    if (unit.IsPps())
        referredSps.insert(ReadReferredId(unit));
    if (unit.IsSps() && unit.codec == VideoCodecHEVC)
        referredVps.insert(ReadReferredId(unit));
}

}  // namespace tool
