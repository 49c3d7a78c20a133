#include "avc/AvcParameterSetExchange.h"

#include "bitstream/StartCode.h"

namespace videoparams {

namespace {

uint32_t MissingStartCodeLength(const unsigned char* bytes, uint32_t size)
{
    return BeginsWithStartCode(bytes, size) ? 0 : sizeof LongStartCode;
}

bool MakeRoomToHold(Buffer& held, const unsigned char* unit, uint32_t unitSize)
{
    const uint64_t needed = uint64_t{unitSize} + MissingStartCodeLength(unit, unitSize);
    return held.MakeRoom(needed, needed);
}

void HoldUnit(Buffer& held, const unsigned char* unit, uint32_t unitSize)
{
    held.length = 0;
    held.Append(LongStartCode, MissingStartCodeLength(unit, unitSize));
    held.Append(unit, unitSize);
}

}  // namespace

// A stream may begin with an SPS, read into the current record, and go on with a PPS, whose record is the
// pending one and empty: the description of the SPS stays.
void CAvcParameterSetExchange::Capture(const SequenceInfo& info)
{
    const NalUnit& unit = scanner.Unit();
    Buffer& held = unit.header.nal_unit_type == AvcUnitSps ? heldSps : heldPps;
    if (held.length != 0 || !held.MakeRoom(unit.size, unit.size))
        return;
    held.Append(unit.data, unit.size);
    if (info.sequenceInfoValid != 0)
        heldInfo = info;
}

// Room is made for both before either is held, so that a pair stays a pair. Both are held before either is
// read: a unit that cannot be read may still serve a decoder.
Result CAvcParameterSetExchange::Hold(const unsigned char* sps, uint32_t spsSize, const unsigned char* pps,
                                      uint32_t ppsSize)
{
    scanner.EndScan();
    if (!MakeRoomToHold(heldSps, sps, spsSize) || !MakeRoomToHold(heldPps, pps, ppsSize))
        return ResultFailed;
    HoldUnit(heldSps, sps, spsSize);
    HoldUnit(heldPps, pps, ppsSize);
    const Result result = ReadHeldPair();
    scanner.EndScan();
    return result;
}

Result CAvcParameterSetExchange::ReadHeldPair()
{
    if (ReadHeldUnit(heldSps, AvcUnitSps) != ResultOk)
        return ResultFailed;
    return ReadHeldUnit(heldPps, AvcUnitPps);
}

// The unit is read as what the caller says that it is, whatever its own type.
Result CAvcParameterSetExchange::ReadHeldUnit(const Buffer& held, uint32_t nal_unit_type)
{
    scanner.SetData(held.data, held.length);
    if (scanner.NextUnit() != ScanOutcome::Unit)
        return ResultFailed;
    Rbsp rbsp;
    if (!scanner.OpenWhole(rbsp) || scanner.Unit().header.forbidden_zero_bit == 1)
        return ResultFailed;
    return tables.ReadParameterSet(nal_unit_type, rbsp, heldInfo);
}

const SequenceInfo* CAvcParameterSetExchange::Complete(AccessUnit& unit)
{
    if (heldSps.length != 0 && heldPps.length != 0) {
        // If there is no memory for them, the access unit is reported as it came.
        (void)unit.Insert(unit.parameterSetOffset, heldSps, heldPps);
    }
    return heldInfo.sequenceInfoValid != 0 ? &heldInfo : nullptr;
}

Result CAvcParameterSetExchange::Find(const unsigned char* data, uint32_t size, ParameterSetData& sets)
{
    sets = ParameterSetData{};
    foundSps.length = 0;
    foundPps.length = 0;
    scanner.SetData(data, size);
    const Result result = CopyParameterSets();
    scanner.EndScan();
    if (result != ResultOk)
        return ResultFailed;
    if (foundSps.length != 0) {
        sets.sps = foundSps.data;
        sets.spsSize = foundSps.length;
    }
    if (foundPps.length != 0) {
        sets.pps = foundPps.data;
        sets.ppsSize = foundPps.length;
    }
    return ResultOk;
}

// Of each kind the last one stays.
Result CAvcParameterSetExchange::CopyParameterSets()
{
    while (true) {
        const ScanOutcome outcome = scanner.NextUnit();
        if (outcome == ScanOutcome::End || outcome == ScanOutcome::NoStartCode)
            return ResultOf(outcome);
        const uint32_t nal_unit_type = scanner.Unit().header.nal_unit_type;
        if (nal_unit_type == AvcUnitSps && !CopyUnit(foundSps))
            return ResultFailed;
        if (nal_unit_type == AvcUnitPps && !CopyUnit(foundPps))
            return ResultFailed;
    }
}

bool CAvcParameterSetExchange::CopyUnit(Buffer& copy)
{
    scanner.EndUnit();
    const NalUnit& unit = scanner.Unit();
    if (!copy.MakeRoom(unit.size, unit.size))
        return false;
    copy.length = 0;
    copy.Append(unit.data, unit.size);
    return true;
}

}  // namespace videoparams
