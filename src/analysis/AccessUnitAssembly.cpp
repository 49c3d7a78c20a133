#include "analysis/AccessUnitAssembly.h"

#include "memory/ClearBytes.h"

#include <cstddef>

namespace videoparams {

namespace {

// All bytes, so that a caller may compare records byte by byte; in two pieces, since C libraries clear more
// than 2 KB by a string instruction.
void ClearInfo(VideoInfo& info)
{
    constexpr size_t FirstSize = offsetof(VideoInfo, reserved2);
    auto* const bytes = reinterpret_cast<unsigned char*>(&info);
    ClearBytes(bytes, FirstSize);
    ClearBytes(bytes + FirstSize, sizeof info - FirstSize);
}

}  // namespace

Result CAccessUnitAssembly::ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info)
{
    if (info == nullptr)
        return ResultFailed;
    ClearInfo(*info);
    if (data == nullptr || size == 0) {
        scanner.EndScan();
        Flush(*info);
        return ResultOk;
    }
    scanner.SetData(data, size);
    const Result result = ReadUnits(*info);
    scanner.EndScan();
    return result;
}

Result CAccessUnitAssembly::ReadUnits(VideoInfo& info)
{
    while (true) {
        const ScanOutcome outcome = scanner.NextUnit();
        if (outcome != ScanOutcome::Unit)
            return ResultOf(outcome);
        const NalHeader& header = scanner.Unit().header;
        if (header.forbidden_zero_bit == 1)
            return ResultFailed;
        switch (rules.TraitsOf(header.nal_unit_type).unitClass) {
        case UnitClass::Slice:
            if (TakeSlice(info) != ResultOk)
                return ResultFailed;
            break;
        case UnitClass::Leading:
            if (TakeLeadingUnit() != ResultOk)
                return ResultFailed;
            break;
        case UnitClass::Other:
            TakeOtherUnit();
            break;
        }
    }
}

// Fails only if there is no memory to read the unit, which is then not taken. A unit that cannot be
// understood is no failure.
Result CAccessUnitAssembly::TakeLeadingUnit()
{
    if (rules.TraitsOf(scanner.Unit().header.nal_unit_type).isParameterSet)
        return TakeParameterSet();
    StoreLeadingUnit(OpenAccessUnit());
    return ResultOk;
}

Result CAccessUnitAssembly::TakeParameterSet()
{
    Rbsp rbsp;
    if (!scanner.OpenWhole(rbsp))
        return ResultFailed;
    AccessUnit& entry = OpenAccessUnit();
    StoreLeadingUnit(entry);
    hooks.ReadParameterSet(rbsp, &entry == pending ? pendingInfo : currentInfo);
    return ResultOk;
}

Result CAccessUnitAssembly::TakeSlice(VideoInfo& info)
{
    const SliceOutcome outcome = hooks.ReadSlice();
    if (outcome == SliceOutcome::OutOfMemory)
        return ResultFailed;
    if (outcome == SliceOutcome::Unreadable)
        return ResultOk;

    const bool startsPicture = outcome == SliceOutcome::StartsPicture;
    if (startsPicture && current != nullptr)
        Report(info);
    if (startsPicture || current == nullptr)
        current = &queue.TakeNext();
    if (pending != nullptr)
        MergePending();
    if (StoreUnit(*current) && rules.TraitsOf(scanner.Unit().header.nal_unit_type).isKeySlice)
        current->isKeyFrame = true;
    return ResultOk;
}

void CAccessUnitAssembly::TakeOtherUnit()
{
    if (pending != nullptr)
        StoreUnit(*pending);
    else if (current != nullptr)
        StoreUnit(*current);
}

// The access unit that a leading unit belongs to.
AccessUnit& CAccessUnitAssembly::OpenAccessUnit()
{
    if (current == nullptr) {
        current = &queue.TakeNext();
        return *current;
    }
    if (pending == nullptr)
        pending = &queue.TakeSpare();
    return *pending;
}

void CAccessUnitAssembly::StoreLeadingUnit(AccessUnit& entry)
{
    if (StoreUnit(entry) && scanner.Unit().header.nal_unit_type == rules.delimiterType)
        entry.parameterSetOffset = entry.bytes.length;
}

// If there is no memory for a unit, it is missing from the access unit; the call does not fail.
bool CAccessUnitAssembly::StoreUnit(AccessUnit& entry)
{
    Buffer& bytes = entry.bytes;
    if (scanner.EndUnitInto(bytes.End(), bytes.Room())) {
        bytes.length += scanner.Unit().size;
        return true;
    }
    return entry.Store(scanner.Unit().data, scanner.Unit().size) == ResultOk;
}

void CAccessUnitAssembly::MergePending()
{
    const uint32_t offset = current->bytes.length;
    const bool isStored = current->Take(*pending) == ResultOk;
    if (isStored && current->parameterSetOffset == 0 && pending->parameterSetOffset != 0)
        current->parameterSetOffset = offset + pending->parameterSetOffset;
    if (rules.mergeTakesKeyFrame)
        current->isKeyFrame = pending->isKeyFrame;
    pending = nullptr;
    if (pendingInfo.sequenceInfoValid == 0)
        return;
    // A stream may begin with a VPS, read into the current record, and go on with an SPS, read into the
    // pending one: the frame rate of the VPS counts if the SPS has none. An empty current unit has just
    // begun, and the current record is that of the previous one.
    const bool keepsFrameRate =
        offset != 0 && currentInfo.sequenceInfoValid == 0 && !pendingInfo.HasFrameRate();
    if (keepsFrameRate) {
        pendingInfo.frameRateNumerator = currentInfo.frameRateNumerator;
        pendingInfo.frameRateDenominator = currentInfo.frameRateDenominator;
    }
    currentInfo = pendingInfo;
    pendingInfo = SequenceInfo{};
}

void CAccessUnitAssembly::Report(VideoInfo& info)
{
    const SequenceInfo* description = currentInfo.sequenceInfoValid != 0 ? &currentInfo : nullptr;
    if (description == nullptr && current->isKeyFrame)
        description = hooks.CompleteKeyUnit(*current);

    info.accessUnitFound = 1;
    info.keyFrame = current->isKeyFrame ? 1 : 0;
    info.accessUnitData = current->bytes.data;
    info.accessUnitSize = current->bytes.length;
    if (description != nullptr)
        description->CopyTo(info);
    if (description == &currentInfo)
        currentInfo = SequenceInfo{};
}

// Leaves nothing open, so that every unit is reported once and the next call begins a stream.
void CAccessUnitAssembly::Flush(VideoInfo& info)
{
    if (pending != nullptr)
        MergePending();
    if (current != nullptr)
        Report(info);
    current = nullptr;
    currentInfo = SequenceInfo{};
    pendingInfo = SequenceInfo{};
    hooks.EndStream();
}

}  // namespace videoparams
