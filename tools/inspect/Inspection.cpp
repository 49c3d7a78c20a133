#include "inspect/Inspection.h"

#include "report/Message.h"

#include <algorithm>

namespace tool {

namespace {

// A slice header, as far as the library reads it, is shorter.
constexpr uint32_t SliceHeadSize = 256;

// A stream without slices shows for none of its units to which access unit they belong.
constexpr size_t MostWaiting = 100000;

}  // namespace

CInspection::CInspection(const SourceFacts& facts) : analysis(facts.codec), probe(facts.codec)
{
    info.facts = facts;
}

void CInspection::Take(const NalUnit& unit)
{
    const UnitRole role = analysis.Take(unit);
    TakeCompleted();
    Place(RecordOf(unit, role), role);
    lists.Take(unit);
    AddFindings(check.Take(unit, role, analysis));
}

void CInspection::Finish(const SourceCounts& counts)
{
    ReleaseWaiting(current.unitCount == 0 ? NoAccessUnit : static_cast<uint32_t>(analysis.Current().number));
    AddFindings(check.Finish());
    analysis.Finish();
    TakeCompleted();
    if (counts.skippedBytes != 0)
        lists.AddFinding({}, CountOf(counts.skippedBytes, "byte") + " outside of units");
    for (const std::string& text : counts.container.DescribeMissing())
        lists.AddFinding({}, text);
    info.counts = counts;
    info.damage = analysis.Found();
    info.unusedSets = analysis.UnusedSets();
    info.furtherLayers = analysis.FurtherLayers();
}

void CInspection::ForgetRecords()
{
    unitCount += units.size();
    units.clear();
    accessUnits.clear();
}

Json CInspection::Results() const
{
    Json results = {{"description", DescribeStream(info)},
                    {"damage", info.IsDamaged() ? Json(info.DescribeDamage()) : Json(nullptr)}};
    results.update(lists.ToJson());
    return results;
}

uint8_t CInspection::FlagsOf(const NalUnit& unit, UnitRole role)
{
    const bool isSlice = unit.HasHeader() && unit.IsSlice();
    return static_cast<uint8_t>(
        (isSlice ? UnitIsSlice : 0) | (isSlice && unit.IsKeySlice() ? UnitIsKeySlice : 0) |
        (role == UnitRole::Unreadable ? UnitIsUnreadable : 0) | (unit.HasHeader() ? UnitHasHeader : 0) |
        (unit.isOutOfBand ? UnitIsOutOfBand : 0));
}

UnitRecord CInspection::RecordOf(const NalUnit& unit, UnitRole role)
{
    UnitRecord record{.offset = static_cast<double>(unit.offset),
                      .size = unit.size,
                      .accessUnit = NoAccessUnit,
                      .nal_unit_type = static_cast<uint8_t>(unit.Type()),
                      .startCodeLength = static_cast<uint8_t>(unit.StartCodeLength()),
                      .slice_type = -1,
                      .flags = FlagsOf(unit, role),
                      .idc =
                          static_cast<uint8_t>(unit.codec == VideoCodecAVC ? unit.RefIdc() : unit.LayerId()),
                      .nuh_temporal_id_plus1 = static_cast<uint8_t>(unit.TemporalIdPlus1()),
                      .sliceHeaderLength = 0};
    if (unit.codec == VideoCodecAVC && (unit.IsSlice() || unit.IsSps() || unit.IsPps()))
        MeasureSlice(unit, record);
    return record;
}

// Parameter sets are read on the way.
void CInspection::MeasureSlice(const NalUnit& unit, UnitRecord& record)
{
    const uint32_t looked = unit.IsSlice() ? std::min(unit.size, SliceHeadSize) : unit.size;
    unsigned char* found = nullptr;
    unsigned int foundSize = 0;
    unsigned int headerLength = 0;
    bool isSlice = false;
    VideoPicType type = VideoPicUnknown;
    SetVideoData(probe, const_cast<unsigned char*>(unit.data), looked);
    GetNalUnit(probe, &found, &foundSize, &isSlice, &headerLength);
    if (isSlice)
        QueryType(probe, unit.data, looked, type);
    record.sliceHeaderLength = static_cast<uint16_t>(headerLength);
    record.slice_type = static_cast<int8_t>(std::clamp<int32_t>(type, -1, INT8_MAX));
}

void CInspection::Place(const UnitRecord& record, UnitRole role)
{
    if (role == UnitRole::FirstSlice) {
        current = AccessUnitRecord{};
        current.firstUnit = static_cast<uint32_t>(unitCount + units.size());
    }
    waiting.push_back(record);
    if (role == UnitRole::FirstSlice || role == UnitRole::FurtherSlice)
        ReleaseWaiting(static_cast<uint32_t>(analysis.Current().number));
    else if (waiting.size() == 1 && role != UnitRole::Leading)
        ReleaseWaiting(current.unitCount == 0 ? NoAccessUnit
                                              : static_cast<uint32_t>(analysis.Current().number));
    else if (waiting.size() == MostWaiting)
        ReleaseWaiting(NoAccessUnit);
}

void CInspection::ReleaseWaiting(uint32_t accessUnit)
{
    for (UnitRecord& record : waiting) {
        if ((record.flags & (UnitIsUnreadable | UnitIsOutOfBand)) == 0)
            record.accessUnit = accessUnit;
        units.push_back(record);
    }
    if (accessUnit != NoAccessUnit)
        current.unitCount += static_cast<uint32_t>(waiting.size());
    waiting.clear();
}

void CInspection::TakeCompleted()
{
    const AccessUnit* const unit = analysis.Completed();
    if (unit == nullptr)
        return;
    info.summary.Add(*unit);
    if (!unit->hasSlice)
        return;
    current.offset = static_cast<double>(unit->offset);
    current.seconds = seconds;
    current.size = static_cast<uint32_t>(unit->size);
    current.isKeyFrame = unit->isKeyFrame;
    current.isField = unit->isField;
    current.slice_type = static_cast<int8_t>(std::clamp<int32_t>(unit->slice_type, -1, INT8_MAX));
    accessUnits.push_back(current);
    seconds += info.summary.SecondsOf(*unit);
}

// A finding about an access unit is about the one that begins.
void CInspection::AddFindings(const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings)
        lists.AddFinding(finding.place == FindingPlace::Unit ? finding.number : current.firstUnit,
                         finding.text);
}

}  // namespace tool
