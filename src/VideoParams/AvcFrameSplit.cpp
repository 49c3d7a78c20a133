#include "VideoParams/ParseAVCParams.h"
#include "VideoQueue/HeapBuffer.h"

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

Result CParseAVCParams::CollectUnits(uint32_t& unitCount)
{
    while (true) {
        const unsigned char* unit = nullptr;
        uint32_t unitSize = 0;
        const Result result = GetNalDataEx(&unit, &unitSize);
        if (unitSize == 0)
            return result;
        uint32_t pointerCapacity = nalArrayCapacity;
        if (!MakeRoom(nalPointers, pointerCapacity, unitCount + 1, unitCount + 1) ||
            !MakeRoom(nalSizes, nalArrayCapacity, unitCount + 1, unitCount + 1))
            return ResultFailed;
        nalPointers[unitCount] = const_cast<unsigned char*>(unit);  // the caller's own, not const there
        nalSizes[unitCount] = unitSize;
        ++unitCount;
    }
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

    Result result = OpenNextUnit(avcRules);
    if (openUnit.IsEmpty() || openUnit.header.forbidden_zero_bit == 1)
        return ResultFailed;
    const NalHeader header = openUnit.header;
    if (avcRules.classOf(header.nal_unit_type) == UnitClass::Slice) {
        int32_t newPicture = 0;
        ReadSliceHeaderData(nullptr, header.nal_unit_type, header.nal_ref_idc, &newPicture);
        if (rbspBuffer == nullptr)
            return ResultFailed;  // no memory to read the header
        // A slice whose parameter sets are unknown is delivered all the same, measured up to where that
        // showed.
        *isSlice = true;
        *sliceHeaderLength = MeasureSliceHeader();
    } else if (header.nal_unit_type == AvcUnitSps) {
        if (OpenWhole(avcRules) != ResultOk)
            return ResultFailed;
        VideoInfo scratch{};
        result = ReadSequenceParameterSetData(&scratch);
    } else if (header.nal_unit_type == AvcUnitPps) {
        result = ReadPictureParameterSetData(nullptr);
    }
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
