#pragma once

#include "bitstream/BitReader.h"
#include "bitstream/NalRules.h"
#include "bitstream/StartCode.h"
#include "memory/Buffer.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

// What a step to the next unit found.
enum class ScanOutcome
{
    Unit,
    BareStartCode,  // a unit without a header; its type is NoType
    End,
    NoStartCode,  // five bytes or more, and no start code
};

// A scan that stops there without a failure of its own.
inline Result ResultOf(ScanOutcome outcome)
{
    return outcome == ScanOutcome::NoStartCode ? ResultFailed : ResultOk;
}

// A unit of a byte stream in the caller's memory.
struct NalUnit
{
    const unsigned char* data = nullptr;  // null: none is at hand
    uint32_t size = 0;                    // 0 until the unit is ended
    NalHeader header{};
};

// A unit's RBSP, or its first bytes. Valid until the scanner opens another.
struct Rbsp
{
    const unsigned char* data = nullptr;
    uint32_t size = 0;
    uint32_t headerLength = 0;
    bool isHead = false;  // there are more bytes

    CBitReader AfterHeader() const
    {
        CBitReader bits(data, size);
        bits.Bits(8 * headerLength);
        return bits;
    }
};

// Walks the units of a byte stream that is in the caller's memory, and opens them for reading.
//
// To end a unit is to find its end, which takes a look at all of its bytes. That is put off until the end is
// needed, or the next unit, so that the search and the copying of a unit can be one pass.
class CNalScanner
{
public:
    explicit CNalScanner(const NalRules& codecRules) : rules(codecRules) {}

    [[nodiscard]] bool Create() { return rbspBlock.Allocate(1024); }

    const NalRules& Rules() const { return rules; }

    // A scan goes from SetData to EndScan, after which the scanner holds no address of the caller's.
    void SetData(const unsigned char* data, uint32_t size)
    {
        next = data;
        remaining = data == nullptr ? 0 : size;
        isAtStartCode = false;
        unit = NalUnit{};
    }
    void EndScan() { SetData(nullptr, 0); }

    // Ends the unit at hand and begins the next one. Only Unit() of the outcomes Unit and BareStartCode has
    // data.
    ScanOutcome NextUnit();
    const NalUnit& Unit() const { return unit; }

    // The same for units of which only the bytes are wanted: the unit is ended, and its header is not read.
    ScanOutcome NextWholeUnit()
    {
        EndUnit();
        const ScanOutcome outcome = FindUnit();
        unit = NalUnit{};
        if (outcome == ScanOutcome::Unit) {
            unit.data = next;
            FindEnd();
        }
        return outcome;
    }

    void EndUnit()
    {
        if (unit.data != nullptr && unit.size == 0)
            FindEnd();
    }

    // Ends the unit and copies it. False: it is larger than the room, all of which may have been written to.
    [[nodiscard]] bool EndUnitInto(unsigned char* destination, uint32_t room);

    // Opens a unit that has just begun: as much of it as a slice header takes. False: out of memory.
    [[nodiscard]] bool OpenHead(Rbsp& rbsp);

    // Ends the unit and opens all of it. False: out of memory.
    [[nodiscard]] bool OpenWhole(Rbsp& rbsp);

private:
    // A unit begins at `next`, or there is none.
    ScanOutcome FindUnit()
    {
        if (remaining < ShortestUnit)
            return ScanOutcome::End;
        isAtStartCode = isAtStartCode || BeginsWithStartCode(next, ShortestUnit) || SkipToStartCode();
        return isAtStartCode ? ScanOutcome::Unit : ScanOutcome::NoStartCode;
    }

    void FindEnd() { EndUnitAt(FindUnitEnd(unit.data, remaining)); }

    // At the next start code, or at the end of the stream if that is null.
    void EndUnitAt(const unsigned char* startCode)
    {
        if (startCode == nullptr) {
            unit.size = remaining;
            remaining = 0;
            return;
        }
        unit.size = static_cast<uint32_t>(startCode - unit.data);
        next = startCode;
        remaining -= unit.size;
    }

    bool SkipToStartCode();
    bool EndsAt(const unsigned char* header);
    [[nodiscard]] bool EndUnitIntoLess(unsigned char* destination, uint32_t room);
    [[nodiscard]] bool Convert(uint32_t bodySize, uint32_t limit, Rbsp& rbsp);

    const NalRules& rules;

    // The bytes from the unit on, while it is not ended, or after it.
    const unsigned char* next = nullptr;
    uint32_t remaining = 0;
    bool isAtStartCode = false;  // `next` is one: from the first unit on

    NalUnit unit;

    // RBSP bytes of the unit opened last. No block: out of memory, the next conversion tries again.
    Buffer rbspBlock;
};

}  // namespace videoparams
