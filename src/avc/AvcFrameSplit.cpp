#include "avc/ParseAVCParams.h"
#include "memory/HeapBuffer.h"

#include <algorithm>

namespace videoparams {

Result CParseAVCParams::GetNalFromFrame(unsigned char* frame, uint32_t size, uint32_t* count,
                                        unsigned char*** units, uint32_t** sizes)
{
    if (count == nullptr || units == nullptr || sizes == nullptr)
        return ResultFailed;
    *units = nullptr;
    *sizes = nullptr;
    *count = 0;
    SetData(frame, size);
    uint32_t unitCount = 0;
    const Result result = CollectUnits(unitCount);
    EndScan();
    if (result == ResultOk && unitCount != 0) {
        *count = unitCount;
        *units = nalPointers;
        *sizes = nalSizes;
    }
    return result;
}

// The scanner's walk without its stops: all that is done with a unit is to note it down.
Result CParseAVCParams::CollectUnits(uint32_t& unitCount)
{
    const Result result = BeginUnit();
    const unsigned char* unit = openUnit.data;
    uint32_t remaining = scanRemaining;
    uint32_t count = 0;
    while (unit != nullptr) {
        const unsigned char* const next = FindUnitEnd(unit, remaining);
        uint32_t pointerCapacity = nalArrayCapacity;
        if (!MakeRoom(nalPointers, pointerCapacity, count + 1, count + 1) ||
            !MakeRoom(nalSizes, nalArrayCapacity, count + 1, count + 1))
            return ResultFailed;
        nalPointers[count] = const_cast<unsigned char*>(unit);  // the caller's own, not const there
        nalSizes[count] = next != nullptr ? static_cast<uint32_t>(next - unit) : remaining;
        remaining -= nalSizes[count];
        ++count;
        unit = next;
    }
    unitCount = count;
    return result;
}

Result CParseAVCParams::SetVideoData(unsigned char* data, uint32_t size)
{
    SetData(data, size);
    Reset();
    return ResultOk;
}

Result CParseAVCParams::GetNalUnit(unsigned char** unit, uint32_t* unitSize, bool* isSlice,
                                   uint32_t* sliceHeaderLength)
{
    if (unit == nullptr || unitSize == nullptr || isSlice == nullptr || sliceHeaderLength == nullptr)
        return ResultFailed;
    *unit = nullptr;
    *unitSize = 0;
    *isSlice = false;
    *sliceHeaderLength = 0;

    Result result = BeginNextUnit(avcRules);
    if (openUnit.IsEmpty() || openUnit.header.forbidden_zero_bit == 1)
        return ResultFailed;
    const NalHeader header = openUnit.header;
    if (avcRules.TraitsOf(header.nal_unit_type).unitClass == UnitClass::Slice) {
        if (OpenHead(avcRules) != ResultOk)
            return ResultFailed;
        int32_t newPicture = 0;
        ReadSliceHeaderData(nullptr, header.nal_unit_type, header.nal_ref_idc, &newPicture);
        if (rbspBuffer == nullptr)
            return ResultFailed;  // no memory to read the header
        // A slice whose parameter sets are unknown is delivered all the same, measured up to where that
        // showed.
        *isSlice = true;
        *sliceHeaderLength = MeasureSliceHeader();
    } else if (avcRules.TraitsOf(header.nal_unit_type).isParameterSet) {
        if (OpenWhole(avcRules) != ResultOk)
            return ResultFailed;
        VideoInfo scratch{};
        result = ReadParameterSet(scratch);
    }
    EndUnit();
    *unit = const_cast<unsigned char*>(openUnit.data);
    *unitSize = openUnit.size;
    return result;
}

// From the first byte behind the unit header up to the byte with the next unread bit, with the emulation
// prevention that these bytes take in the stream.
uint32_t CParseAVCParams::MeasureSliceHeader() const
{
    const unsigned char* const begin = openUnit.rbsp + avcRules.headerLength;
    const unsigned char* end = nullptr;
    GetDataPtr(&end);
    const uint32_t length = static_cast<uint32_t>(end - begin) + 1;
    const uint32_t present = openUnit.rbspSize - avcRules.headerLength;
    return length + CountEscapes(begin, std::min(length, present));
}

}  // namespace videoparams
