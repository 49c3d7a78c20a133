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

ScanOutcome CNalScanner::NextUnit()
{
    EndUnit();
    const ScanOutcome outcome = FindUnit();
    if (outcome != ScanOutcome::Unit) {
        unit = NalUnit{};
        return outcome;
    }
    const unsigned char* const header = next + StartCodeLength(next);
    unit = {next, 0, rules.HeaderOf(*header)};
    // Zero: an H.265 slice of type 0, or a start code that follows at once.
    return *header == 0 && EndsAt(header) ? ScanOutcome::BareStartCode : ScanOutcome::Unit;
}

bool CNalScanner::SkipToStartCode()
{
    const unsigned char* const first = FindStartCode(next, remaining);
    if (first == nullptr)
        return false;
    remaining -= static_cast<uint32_t>(first - next);
    next = first;
    return true;
}

// Ends the unit if its header is the next start code.
bool CNalScanner::EndsAt(const unsigned char* header)
{
    const auto window = std::min(remaining - static_cast<uint32_t>(header - next), ShortestUnit);
    if (FindStartCode(header, window) == nullptr)
        return false;
    EndUnitAt(header);
    unit.header.nal_unit_type = NoType;
    return true;
}

bool CNalScanner::EndUnitInto(unsigned char* destination, uint32_t room)
{
    if (unit.size != 0 || room < remaining)
        return EndUnitIntoLess(destination, room);
    const unsigned char* const begin = unit.data + ShortStartCodeLength;
    const unsigned char* const lastByte = unit.data + remaining - 1;
    std::memcpy(destination, unit.data, ShortStartCodeLength);
    const unsigned char* const copied =
        CopyToStartCodePrefix(begin, lastByte, destination + ShortStartCodeLength);
    const unsigned char* const startCode = StartCodeAt(copied, begin, lastByte + 1);
    EndUnitAt(startCode);
    if (startCode != nullptr)
        return true;
    destination[unit.size - 1] = *lastByte;
    if (copied != lastByte)  // a start code that does not count
        std::memcpy(destination + (copied - unit.data), copied, static_cast<size_t>(lastByte - copied));
    return true;
}

// For a unit that is ended, or into room for less than what remains.
bool CNalScanner::EndUnitIntoLess(unsigned char* destination, uint32_t room)
{
    const unsigned char* copied = unit.data;  // up to here
    if (unit.size == 0 && room >= ShortestUnit) {
        const unsigned char* const begin = unit.data + ShortStartCodeLength;
        const unsigned char* const end = unit.data + remaining;
        const unsigned char* const limit = unit.data + room;
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
bool CNalScanner::OpenHead(Rbsp& rbsp)
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
        return Convert(bodySize, RbspHeadSize, rbsp);
    rbsp = {body, std::min(bodySize, RbspHeadSize), rules.headerLength, bodySize > RbspHeadSize};
    return true;
}

bool CNalScanner::OpenWhole(Rbsp& rbsp)
{
    EndUnit();
    const uint32_t bodySize = unit.size - StartCodeLength(unit.data);
    return Convert(bodySize, bodySize, rbsp);
}

// The start code contains nothing to convert.
bool CNalScanner::Convert(uint32_t bodySize, uint32_t limit, Rbsp& rbsp)
{
    if (!rbspBlock.Replace(std::min(bodySize, limit)))
        return false;
    const unsigned char* const body = unit.data + StartCodeLength(unit.data);
    rbspBlock.length = RemoveEmulationPrevention(body, bodySize, limit, rbspBlock.data);
    rbsp = {rbspBlock.data, rbspBlock.length, rules.headerLength, bodySize > limit};
    return true;
}

}  // namespace videoparams
