#include "analysis/AccessUnitAssembly.h"

#include "analysis/SequenceInfo.h"

#include <cstring>

namespace videoparams {

namespace {

// All bytes, so that a caller may compare records as they lie.
void ClearInfo(VideoInfo& info)
{
    std::memset(&info, 0, sizeof info);
}

bool IsDescribed(const VideoInfo& info)
{
    return info.sequenceInfoValid != 0;
}

bool HasFrameRate(const VideoInfo& info)
{
    return info.frameRateNumerator != 0 || info.frameRateDenominator != 0;
}

// A stream may begin with a VPS read into the current record and go on with an SPS read into the pending one:
// the rate of the VPS holds where the SPS gives none.
void KeepVpsFrameRate(const VideoInfo& current, VideoInfo& pending)
{
    if (IsDescribed(current) || HasFrameRate(pending))
        return;
    pending.frameRateNumerator = current.frameRateNumerator;
    pending.frameRateDenominator = current.frameRateDenominator;
}

}  // namespace

void CAccessUnitAssembly::Clear()
{
    ClearInfo(currentInfo);
    ClearInfo(pendingInfo);
}

Result CAccessUnitAssembly::ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info)
{
    if (info == nullptr)
        return ResultFailed;
    ClearInfo(*info);
    const bool flush = data == nullptr || size == 0;
    parser.SetData(data, size);
    const Result result = flush ? ResultOk : ReadUnits(info);
    if (flush)
        Flush(info);
    parser.EndScan();
    return result;
}

Result CAccessUnitAssembly::ReadUnits(VideoInfo* info)
{
    while (true) {
        const Result result = parser.BeginNextUnit(rules);
        if (parser.openUnit.IsEmpty())
            return result;
        if (parser.openUnit.header.forbidden_zero_bit == 1 || TakeUnit(info) != ResultOk)
            return ResultFailed;
    }
}

// Fails only for want of memory to read the unit, which is then not taken; that a unit cannot be understood
// is no failure.
Result CAccessUnitAssembly::TakeUnit(VideoInfo* info)
{
    switch (rules.TraitsOf(parser.openUnit.header.nal_unit_type).unitClass) {
    case UnitClass::Leading:
        return TakeLeadingUnit();
    case UnitClass::Slice:
        return TakeSlice(info);
    case UnitClass::Other:
        TakeOtherUnit();
        break;
    }
    return ResultOk;
}

Result CAccessUnitAssembly::TakeLeadingUnit()
{
    parser.EndUnit();
    if (rules.TraitsOf(parser.openUnit.header.nal_unit_type).isParameterSet &&
        parser.OpenWhole(rules) != ResultOk)
        return ResultFailed;
    if (currentUnit == nullptr) {
        BeginCurrentUnit();
        StoreLeadingUnit(*currentUnit);
        hooks.ReadLeadingUnit(currentInfo);
        return ResultOk;
    }
    if (pendingUnit == nullptr)
        parser.videoQueue->GetNextInfo(&pendingUnit);
    StoreLeadingUnit(*pendingUnit);
    hooks.ReadLeadingUnit(pendingInfo);
    return ResultOk;
}

Result CAccessUnitAssembly::TakeSlice(VideoInfo* info)
{
    bool newPicture = false;
    if (parser.OpenHead(rules) != ResultOk)
        return ResultFailed;
    if (hooks.ReadSlice(newPicture) != ResultOk)
        return parser.rbspBuffer != nullptr ? ResultOk : ResultFailed;  // dropped, or no memory to read it

    if (newPicture && currentUnit != nullptr)
        ReportCurrentUnit(info);
    if (newPicture || currentUnit == nullptr)
        BeginCurrentUnit();
    if (pendingUnit != nullptr)
        MergePendingUnit();
    if (StoreUnit(*currentUnit) && rules.TraitsOf(parser.openUnit.header.nal_unit_type).isKeySlice)
        currentUnit->keyFrame = 1;
    return ResultOk;
}

void CAccessUnitAssembly::TakeOtherUnit()
{
    if (pendingUnit != nullptr)
        StoreUnit(*pendingUnit);
    else if (currentUnit != nullptr)
        StoreUnit(*currentUnit);
}

void CAccessUnitAssembly::BeginCurrentUnit()
{
    parser.videoQueue->GetVideoInfo(&currentUnit);
}

void CAccessUnitAssembly::StoreLeadingUnit(VideoQueueInfo& entry)
{
    const uint32_t offset = entry.length;
    const bool stored = StoreUnit(entry);
    if (stored && parser.openUnit.header.nal_unit_type == rules.delimiterType) {
        entry.delimiterOffset = offset;
        entry.delimiterSize = parser.openUnit.size;
    }
}

// A unit for which there is no memory is missing from the access unit; the call does not fail for it.
bool CAccessUnitAssembly::StoreUnit(VideoQueueInfo& entry)
{
    if (parser.EndUnitInto(entry.data + entry.length, entry.capacity - entry.length)) {
        entry.length += parser.openUnit.size;
        return true;
    }
    return parser.videoQueue->StoreVideoData(&entry, parser.openUnit.data, parser.openUnit.size) == ResultOk;
}

void CAccessUnitAssembly::MergePendingUnit()
{
    const uint32_t offset = currentUnit->length;
    const bool stored =
        parser.videoQueue->StoreVideoData(currentUnit, pendingUnit->data, pendingUnit->length) == ResultOk;
    if (stored && currentUnit->delimiterSize == 0 && pendingUnit->delimiterSize != 0) {
        currentUnit->delimiterOffset = offset + pendingUnit->delimiterOffset;
        currentUnit->delimiterSize = pendingUnit->delimiterSize;
    }
    if (rules.mergeTakesKeyFrame)
        currentUnit->keyFrame = pendingUnit->keyFrame;
    pendingUnit = nullptr;
    if (IsDescribed(pendingInfo)) {
        if (offset != 0)  // else the unit has just begun, and the current record is of the one before
            KeepVpsFrameRate(currentInfo, pendingInfo);
        currentInfo = pendingInfo;
        ClearInfo(pendingInfo);
    }
}

void CAccessUnitAssembly::ReportCurrentUnit(VideoInfo* info)
{
    const VideoInfo* description = IsDescribed(currentInfo) ? &currentInfo : nullptr;
    if (description == nullptr && currentUnit->keyFrame == 1)
        description = hooks.CompleteKeyUnit(*currentUnit);

    info->accessUnitFound = 1;
    info->keyFrame = currentUnit->keyFrame;
    info->accessUnitData = currentUnit->data;
    info->accessUnitSize = currentUnit->length;
    if (description != nullptr)
        CopySequenceInfo(*description, *info);
    if (description == &currentInfo)
        ClearInfo(currentInfo);
}

// Leaves nothing open, so that every unit is reported once and the next call begins a stream.
void CAccessUnitAssembly::Flush(VideoInfo* info)
{
    if (pendingUnit != nullptr)
        MergePendingUnit();
    if (currentUnit != nullptr)
        ReportCurrentUnit(info);
    currentUnit = nullptr;
    firstSlice = 1;
    ClearInfo(currentInfo);
    ClearInfo(pendingInfo);
}

}  // namespace videoparams
