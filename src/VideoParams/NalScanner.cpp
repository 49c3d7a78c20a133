// The walk over the NAL units of a byte stream, H.264 and H.265 Annex B. A unit runs from its start code to
// the next one or to the end. A start code counts only where five bytes are left from its first zero on:
//     00 00 01 xx xx      00 00 00 01 xx
// so no unit begins within the last four bytes of a stream.

#include "VideoParams/ByteScan/ByteScan.h"
#include "VideoParams/ParserBase.h"

namespace videoparams {

namespace {

constexpr uint32_t ShortestUnit = 5;

// More than the elements that are read of a slice header take in any sound stream.
constexpr uint32_t RbspHeadSize = 64;

}  // namespace

Result CParserBase::SetData(const unsigned char* data, uint32_t size)
{
    scanData = data;
    scanRemaining = data == nullptr ? 0 : size;
    nalStart = nullptr;
    nextNalStart = nullptr;
    return ResultOk;
}

void CParserBase::Reset()
{
    nalStart = nullptr;
}

// Only SetVideoData leaves the handle with an address of the caller's.
void CParserBase::EndScan()
{
    SetData(nullptr, 0);
    openUnit = OpenedUnit{};
}

const unsigned char* CParserBase::GetStartCode(const unsigned char* position, uint32_t count)
{
    if (count < ShortestUnit)
        return nullptr;
    const unsigned char* const end = position + count;
    const unsigned char* const prefix = FindStartCodePrefix(position, end - 1);
    if (prefix == end - 1)
        return nullptr;
    if (prefix != position && prefix[-1] == 0)
        return prefix - 1;
    return end - prefix >= ptrdiff_t{ShortestUnit} ? prefix : nullptr;
}

Result CParserBase::GetNalDataEx(const unsigned char** unit, uint32_t* unitSize)
{
    if (scanRemaining < ShortestUnit)
        return ResultOk;
    if (nalStart == nullptr) {
        nalStart = GetStartCode(scanData, scanRemaining);
        if (nalStart == nullptr)
            return ResultFailed;
        scanRemaining -= static_cast<uint32_t>(nalStart - scanData);
    }
    const uint32_t startCodeLength = StartCodeLength(nalStart);
    nextNalStart = GetStartCode(nalStart + startCodeLength, scanRemaining - startCodeLength);
    *unit = nalStart;
    *unitSize = nextNalStart != nullptr ? static_cast<uint32_t>(nextNalStart - nalStart) : scanRemaining;
    nalStart = nextNalStart;
    scanRemaining -= *unitSize;
    return ResultOk;
}

Result CParserBase::GetNalData(const unsigned char** unit, uint32_t* unitSize, const unsigned char** rbsp,
                               uint32_t* rbspSize)
{
    const unsigned char* found = nullptr;
    uint32_t foundSize = 0;
    const Result result = GetNalDataEx(&found, &foundSize);
    if (found == nullptr)
        return result;
    *unit = found;
    *unitSize = foundSize;
    return GetUnitRbsp(found, foundSize, rbsp, rbspSize);
}

// Without the start code, which holds nothing to convert.
Result CParserBase::GetUnitRbsp(const unsigned char* unit, uint32_t unitSize, const unsigned char** rbsp,
                                uint32_t* rbspSize)
{
    const Result result = GetRbspData(unit, unitSize, rbsp, rbspSize);
    if (result == ResultOk) {
        *rbsp += StartCodeLength(unit);
        *rbspSize -= StartCodeLength(unit);
    }
    return result;
}

Result CParserBase::LocateNextUnit(const NalRules& rules, uint32_t& nal_unit_type)
{
    openUnit = OpenedUnit{};
    const Result result = GetNalDataEx(&openUnit.data, &openUnit.size);
    const bool hasHeader = openUnit.size != 0 && !IsBareStartCode(openUnit.data, openUnit.size);
    nal_unit_type = hasHeader ? UnitType(rules, openUnit.data[StartCodeLength(openUnit.data)]) : NoType;
    return result;
}

Result CParserBase::OpenNextUnit(const NalRules& rules)
{
    openUnit = OpenedUnit{};
    const Result result = GetNalDataEx(&openUnit.data, &openUnit.size);
    if (openUnit.data == nullptr)
        return result;
    const uint32_t startCodeLength = StartCodeLength(openUnit.data);
    if (GetRbspHead(openUnit.data + startCodeLength, openUnit.size - startCodeLength, RbspHeadSize,
                    &openUnit.rbsp, &openUnit.rbspSize) != ResultOk)
        return ResultFailed;
    InitReadData(openUnit.rbsp, openUnit.rbspSize);
    openUnit.header = ReadNalHeader(rules);
    return ResultOk;
}

Result CParserBase::OpenWhole(const NalRules& rules)
{
    const Result result = GetUnitRbsp(openUnit.data, openUnit.size, &openUnit.rbsp, &openUnit.rbspSize);
    InitReadData(openUnit.rbsp, openUnit.rbspSize);
    ReadNalHeader(rules);
    return result;
}

// Whether the reader has come to the end of what was converted, and there is more.
bool CParserBase::HeadIsUsedUp() const
{
    return readBytesLeft == 0 && openUnit.size - StartCodeLength(openUnit.data) > RbspHeadSize;
}

// nal_unit_header(), H.264 7.3.1 and H.265 7.3.1.2: nal_ref_idc u(2) and nal_unit_type u(5), or nal_unit_type
// u(6), nuh_layer_id u(6) and nuh_temporal_id_plus1 u(3).
NalHeader CParserBase::ReadNalHeader(const NalRules& rules)
{
    const uint32_t first = ReadData(8);
    ReadData(8 * (rules.headerLength - 1));
    return {.forbidden_zero_bit = first >> 7,
            .nal_ref_idc = (first >> 5) & 3,
            .nal_unit_type = UnitType(rules, static_cast<unsigned char>(first))};
}

}  // namespace videoparams
