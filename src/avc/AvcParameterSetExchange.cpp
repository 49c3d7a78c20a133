#include "avc/ParseAVCParams.h"
#include "memory/HeapBuffer.h"

namespace videoparams {

namespace {

bool BeginsWithStartCode(const unsigned char* bytes, uint32_t size)
{
    if (size < 3 || bytes[0] != 0 || bytes[1] != 0)
        return false;
    return bytes[2] == 1 || (bytes[2] == 0 && size >= 4 && bytes[3] == 1);
}

uint32_t MissingStartCodeLength(const unsigned char* bytes, uint32_t size)
{
    return BeginsWithStartCode(bytes, size) ? 0 : sizeof LongStartCode;
}

}  // namespace

// Both are held before either is read: what cannot be read may still serve a decoder. Room is made for both
// before either is held, so that a pair stays a pair.
Result CParseAVCParams::SetParameterSetData(unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                                            uint32_t ppsSize)
{
    Result result = ResultFailed;
    if (MakeRoomToHold(HeldSps(), sps, spsSize) && MakeRoomToHold(HeldPps(), pps, ppsSize)) {
        HoldUnit(HeldSps(), sps, spsSize);
        HoldUnit(HeldPps(), pps, ppsSize);
        result = ReadHeldUnits();
    }
    EndScan();
    return result;
}

Result CParseAVCParams::ReadHeldUnits()
{
    if (OpenHeldUnit(HeldSps()) != ResultOk || ReadSequenceParameterSetData(&parameterSetInfo) != ResultOk)
        return ResultFailed;
    if (OpenHeldUnit(HeldPps()) != ResultOk)
        return ResultFailed;
    return ReadPictureParameterSetData(&parameterSetInfo);
}

bool CParseAVCParams::MakeRoomToHold(StoredUnit held, const unsigned char* unit, uint32_t unitSize)
{
    const uint64_t needed = uint64_t{unitSize} + MissingStartCodeLength(unit, unitSize);
    return MakeRoom(held.data, held.capacity, needed, needed);
}

void CParseAVCParams::HoldUnit(StoredUnit held, const unsigned char* unit, uint32_t unitSize)
{
    held.length = 0;
    ByteSink copy{held.data, held.capacity, held.length};
    copy.Append(LongStartCode, MissingStartCodeLength(unit, unitSize));
    copy.Append(unit, unitSize);
}

// The bit reader then stands behind the unit header; the type is not looked at.
Result CParseAVCParams::OpenHeldUnit(StoredUnit held)
{
    const unsigned char* unit = nullptr;
    uint32_t unitSize = 0;
    const unsigned char* rbsp = nullptr;
    uint32_t rbspSize = 0;
    SetData(held.data, held.length);
    GetNalData(&unit, &unitSize, &rbsp, &rbspSize);
    if (rbspSize == 0)
        return ResultFailed;
    InitReadData(rbsp, rbspSize);
    return ReadNalHeader(avcRules).forbidden_zero_bit == 1 ? ResultFailed : ResultOk;
}

Result CParseAVCParams::GetParameterSetData(unsigned char* data, uint32_t size, ParameterSetData* sets)
{
    SetData(data, size);
    parameterSets.spsSize = 0;
    parameterSets.ppsSize = 0;
    *sets = ParameterSetData{};
    bool copied = true;
    const Result result = CopyParameterSets(copied);
    EndScan();
    if (!copied)
        return ResultFailed;
    if (parameterSets.spsSize != 0) {
        sets->sps = parameterSets.sps;
        sets->spsSize = parameterSets.spsSize;
    }
    if (parameterSets.ppsSize != 0) {
        sets->pps = parameterSets.pps;
        sets->ppsSize = parameterSets.ppsSize;
    }
    return result;
}

// The last of each kind stays. `copied` becomes false when memory runs out.
Result CParseAVCParams::CopyParameterSets(bool& copied)
{
    while (true) {
        const Result result = BeginNextUnit(avcRules);
        if (openUnit.data == nullptr)
            return result;
        if (openUnit.header.nal_unit_type == AvcUnitSps)
            copied = CopyUnitTo({parameterSets.sps, spsBlockSize, parameterSets.spsSize});
        else if (openUnit.header.nal_unit_type == AvcUnitPps)
            copied = CopyUnitTo({parameterSets.pps, ppsBlockSize, parameterSets.ppsSize});
        if (!copied)
            return ResultFailed;
    }
}

bool CParseAVCParams::CopyUnitTo(StoredUnit block)
{
    EndUnit();
    if (!MakeRoom(block.data, block.capacity, openUnit.size, openUnit.size))
        return false;
    block.length = 0;
    ByteSink{block.data, block.capacity, block.length}.Append(openUnit.data, openUnit.size);
    return true;
}

}  // namespace videoparams
