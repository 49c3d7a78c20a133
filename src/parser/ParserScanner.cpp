// The walk over the NAL units of a byte stream, H.264 and H.265 Annex B. A unit runs from its start code to
// the next one or to the end. A start code counts only where five bytes are left from its first zero on:
//     00 00 01 xx xx      00 00 00 01 xx
// so no unit begins within the last four bytes of a stream.
//
// To end a unit is to find where it ends, which takes a look at all of its bytes. It is put off until the end
// is needed, or the next unit, so that the search and the copying of a unit can be one pass.

#include "bitstream/ByteScan/ByteScan.h"
#include "parser/ParserBase.h"

#include <algorithm>
#include <cstring>

namespace videoparams {

namespace {

// More than the elements that are read of a slice header take in any sound stream.
constexpr uint32_t RbspHeadSize = 64;

}  // namespace

Result CParserBase::SetData(const unsigned char* data, uint32_t size)
{
    scanData = data;
    scanRemaining = data == nullptr ? 0 : size;
    nalStart = nullptr;
    nextNalStart = nullptr;
    openUnit = OpenedUnit{};
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
}

const unsigned char* CParserBase::GetStartCode(const unsigned char* position, uint32_t count)
{
    return FindStartCode(position, count);
}

// The start code behind the unit that begins at `unit`, with `count` bytes up to the end of the stream.
const unsigned char* CParserBase::FindUnitEnd(const unsigned char* unit, uint32_t count)
{
    return GetStartCode(unit + ShortStartCodeLength, count - ShortStartCodeLength);
}

// The cursor stays at the unit until it is ended.
Result CParserBase::BeginUnit()
{
    EndUnit();
    openUnit = OpenedUnit{};
    if (scanRemaining < ShortestUnit)
        return ResultOk;
    if (nalStart == nullptr) {
        nalStart = GetStartCode(scanData, scanRemaining);
        if (nalStart == nullptr)
            return ResultFailed;
        scanRemaining -= static_cast<uint32_t>(nalStart - scanData);
    }
    openUnit.data = nalStart;
    return ResultOk;
}

void CParserBase::EndUnit()
{
    if (openUnit.IsEnded())
        return;
    EndUnitAt(FindUnitEnd(openUnit.data, scanRemaining));
}

// At the next start code, or at the end of the stream where there is none.
void CParserBase::EndUnitAt(const unsigned char* startCode)
{
    nextNalStart = startCode;
    openUnit.size = startCode != nullptr ? static_cast<uint32_t>(startCode - openUnit.data) : scanRemaining;
    nalStart = nextNalStart;
    scanRemaining -= openUnit.size;
}

bool CParserBase::EndUnitInto(unsigned char* destination, uint32_t room)
{
    const unsigned char* copied = openUnit.data;  // up to here
    if (!openUnit.IsEnded() && room >= ShortestUnit) {
        const unsigned char* const begin = openUnit.data + ShortStartCodeLength;
        const unsigned char* const end = openUnit.data + scanRemaining;
        const unsigned char* const limit = openUnit.data + std::min(room, scanRemaining - 1);
        std::memcpy(destination, openUnit.data, ShortStartCodeLength);
        copied = CopyToStartCodePrefix(begin, limit, destination + ShortStartCodeLength);
        if (copied != limit || limit == end - 1)
            EndUnitAt(StartCodeAt(copied, begin, end));
    }
    EndUnit();
    if (openUnit.size > room)
        return false;
    const unsigned char* const unitEnd = openUnit.data + openUnit.size;
    if (copied < unitEnd)
        std::memcpy(destination + (copied - openUnit.data), copied, static_cast<size_t>(unitEnd - copied));
    return true;
}

Result CParserBase::GetNalDataEx(const unsigned char** unit, uint32_t* unitSize)
{
    const Result result = BeginUnit();
    if (openUnit.data == nullptr)
        return result;
    EndUnit();
    *unit = openUnit.data;
    *unitSize = openUnit.size;
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

// A first header byte of zero, as H.265 slices of type 0 have, may belong to a start code that follows at
// once.
Result CParserBase::BeginNextUnit(const NalRules& rules)
{
    const Result result = BeginUnit();
    if (openUnit.data == nullptr)
        return result;
    const uint32_t startCodeLength = StartCodeLength(openUnit.data);
    const unsigned char* const header = openUnit.data + startCodeLength;
    if (*header == 0) {
        const uint32_t window = std::min(scanRemaining - startCodeLength, ShortestUnit);
        if (GetStartCode(header, window) != nullptr)
            EndUnitAt(header);
    }
    openUnit.header = rules.HeaderOf(*header);
    if (IsBareStartCode(openUnit.data, openUnit.size))
        openUnit.header.nal_unit_type = NoType;
    return ResultOk;
}

Result CParserBase::OpenHead(const NalRules& rules)
{
    const uint32_t bodySize = EndShortUnit();
    const Result result = GetRbspHead(openUnit.data + StartCodeLength(openUnit.data), bodySize, RbspHeadSize,
                                      &openUnit.rbsp, &openUnit.rbspSize);
    openUnit.rbspIsCut = bodySize > RbspHeadSize;
    InitReadData(openUnit.rbsp, openUnit.rbspSize);
    ReadNalHeader(rules);
    return result;
}

// Ends a unit that is not longer than its head. Returns the bytes behind its start code or, of a longer one,
// a number above that of the head.
uint32_t CParserBase::EndShortUnit()
{
    constexpr uint32_t Window = RbspHeadSize + ShortestUnit;  // so that a start code right behind it is seen
    const uint32_t startCodeLength = StartCodeLength(openUnit.data);
    if (!openUnit.IsEnded()) {
        const uint32_t window = std::min(scanRemaining - startCodeLength, Window);
        const unsigned char* const next = GetStartCode(openUnit.data + startCodeLength, window);
        if (next != nullptr || window < Window)
            EndUnitAt(next);
    }
    return openUnit.IsEnded() ? openUnit.size - startCodeLength : RbspHeadSize + 1;
}

Result CParserBase::OpenWhole(const NalRules& rules)
{
    EndUnit();
    const Result result = GetUnitRbsp(openUnit.data, openUnit.size, &openUnit.rbsp, &openUnit.rbspSize);
    openUnit.rbspIsCut = false;
    InitReadData(openUnit.rbsp, openUnit.rbspSize);
    ReadNalHeader(rules);
    return result;
}

// Whether the reader has come to the end of what was converted, and there is more.
bool CParserBase::HeadIsUsedUp() const
{
    return readBytesLeft == 0 && openUnit.rbspIsCut;
}

NalHeader CParserBase::ReadNalHeader(const NalRules& rules)
{
    const uint32_t first = ReadData(8);
    ReadData(8 * (rules.headerLength - 1));
    return rules.HeaderOf(static_cast<unsigned char>(first));
}

}  // namespace videoparams
