#include "bitstream/NalScanner.h"

#include "bitstream/ByteScan/ByteScan.h"
#include "bitstream/EmulationPrevention.h"
#include "bitstream/StartCode.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace videoparams {

namespace {

// More than the elements that are read of a slice header take in any valid stream.
constexpr uint32_t RbspHeadSize = 64;

}  // namespace

void CNalScanner::SetData(const unsigned char* data, uint32_t size)
{
    next = data;
    remaining = data == nullptr ? 0 : size;
    isAtStartCode = false;
    unit = NalUnit{};
}

ScanOutcome CNalScanner::NextUnit()
{
    EndUnit();
    unit = NalUnit{};
    if (remaining < ShortestUnit)
        return ScanOutcome::End;
    if (!isAtStartCode && !BeginsWithStartCode(next, remaining)) {
        const unsigned char* const first = FindStartCode(next, remaining);
        if (first == nullptr)
            return ScanOutcome::NoStartCode;
        remaining -= static_cast<uint32_t>(first - next);
        next = first;
    }
    isAtStartCode = true;

    unit.data = next;
    const uint32_t startCodeLength = StartCodeLength(unit.data);
    const unsigned char* const header = unit.data + startCodeLength;
    unit.header = rules.HeaderOf(*header);
    if (*header == 0) {  // an H.265 slice of type 0, or a start code that follows at once
        const uint32_t window = std::min(remaining - startCodeLength, ShortestUnit);
        if (FindStartCode(header, window) != nullptr) {
            EndUnitAt(header);
            unit.header.nal_unit_type = NoType;
            return ScanOutcome::BareStartCode;
        }
    }
    return ScanOutcome::Unit;
}

void CNalScanner::EndUnit()
{
    if (unit.data != nullptr && unit.size == 0)
        EndUnitAt(FindUnitEnd(unit.data, remaining));
}

// At the next start code, or at the end of the stream if that is null.
void CNalScanner::EndUnitAt(const unsigned char* startCode)
{
    unit.size = startCode != nullptr ? static_cast<uint32_t>(startCode - unit.data) : remaining;
    next += unit.size;
    remaining -= unit.size;
}

bool CNalScanner::EndUnitInto(unsigned char* destination, uint32_t room)
{
    const unsigned char* copied = unit.data;  // up to here
    if (unit.size == 0 && room >= ShortestUnit) {
        const unsigned char* const begin = unit.data + ShortStartCodeLength;
        const unsigned char* const end = unit.data + remaining;
        const unsigned char* const limit = unit.data + std::min(room, remaining - 1);
        std::memcpy(destination, unit.data, ShortStartCodeLength);
        copied = CopyToStartCodePrefix(begin, limit, destination + ShortStartCodeLength);
        if (copied != limit || limit == end - 1)
            EndUnitAt(StartCodeAt(copied, begin, end));
    }
    EndUnit();
    if (unit.size > room)
        return false;
    const unsigned char* const unitEnd = unit.data + unit.size;
    if (copied < unitEnd)
        std::memcpy(destination + (copied - unit.data), copied, static_cast<size_t>(unitEnd - copied));
    return true;
}

// If no two zeros are in reach, then neither a start code nor emulation prevention is: the unit's own bytes
// are its RBSP.
std::optional<Rbsp> CNalScanner::OpenHead()
{
    constexpr uint32_t Window = RbspHeadSize + ShortestUnit;  // so that a start code right after it is seen
    const uint32_t startCodeLength = StartCodeLength(unit.data);
    const unsigned char* const body = unit.data + startCodeLength;
    const uint32_t available = remaining - startCodeLength;
    const uint32_t window = std::min(available, Window);
    const bool hasZeros = FindZeroPair(body, body + window) != body + window;
    const unsigned char* const end = hasZeros ? FindStartCode(body, window) : nullptr;
    if (end != nullptr || window < Window)
        EndUnitAt(end);
    const uint32_t bodySize = unit.size != 0 ? unit.size - startCodeLength : available;
    if (hasZeros)
        return Convert(bodySize, RbspHeadSize);
    return Rbsp{body, std::min(bodySize, RbspHeadSize), rules.headerLength, bodySize > RbspHeadSize};
}

std::optional<Rbsp> CNalScanner::OpenWhole()
{
    EndUnit();
    const uint32_t bodySize = unit.size - StartCodeLength(unit.data);
    return Convert(bodySize, bodySize);
}

// The start code contains nothing to convert.
std::optional<Rbsp> CNalScanner::Convert(uint32_t bodySize, uint32_t limit)
{
    if (!rbspBlock.Replace(std::min(bodySize, limit)))
        return std::nullopt;
    const unsigned char* const body = unit.data + StartCodeLength(unit.data);
    rbspBlock.length = RemoveEmulationPrevention(body, bodySize, limit, rbspBlock.data);
    return Rbsp{rbspBlock.data, rbspBlock.length, rules.headerLength, bodySize > limit};
}

}  // namespace videoparams
