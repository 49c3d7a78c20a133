// Cuts a stream in chunks of any size into whole NAL units, as include/videoparams/nal_feeder.hpp does: the
// same units. Here the chunks are written behind what is left of the ones before, so nothing is copied to cut
// a unit, the search is that of the library, and a lack of memory is reported.

#pragma once

#include "Block.h"

#include "bitstream/ByteScan/ByteScan.h"

#include <cstdint>

namespace web {

class CUnitSplitter
{
public:
    // Units shorter than `shortest` go with the unit before them.
    explicit CUnitSplitter(uint32_t shortest) : shortestUnit(shortest) {}

    // Where the next `size` bytes are to be written. Null: out of memory.
    unsigned char* Room(uint32_t size)
    {
        RemoveTaken();
        return bytes.MakeRoom(uint64_t{bytes.Count()} + size) ? bytes.Data() + bytes.Count() : nullptr;
    }

    // The bytes are there. takeUnit(unit, size) gets each unit that they complete.
    template <class UnitTaker>
    void Take(uint32_t size, UnitTaker takeUnit)
    {
        bytes.Extend(size);
        while (FindStartCode())
            EndUnit(startCode, takeUnit);
        // No start code can begin so soon after the cut: the unit there is long enough.
        if (cut != NoCut && searched >= cut + shortestUnit + MaxZeros)
            HandOn(cut, takeUnit);
        if (cut == NoCut && (!inUnit || bytes.Count() - begin > LargestUnit))
            Skip(searched - std::min(searched, MaxZeros));
    }

    // Where the unit handed on last begins, counted from the first byte of the stream.
    uint64_t Offset() const { return offset + handedOn; }

    // Whether short units go with the unit handed on last.
    bool HasShortUnits() const { return handedOnJoined; }

    // The end of what was taken so far, counted in the same way.
    uint64_t End() const { return offset + bytes.Count(); }

    // From this place in the stream on, keeps bytes that have been handed on, up to MostKept: a file that is
    // no video may never come to another place.
    void KeepFrom(uint64_t place) { kept = place; }
    static constexpr uint64_t Nowhere = UINT64_MAX;

    // The `size` bytes of the stream before `end`. Null: not all of them are here any more.
    const unsigned char* Before(uint64_t end, uint32_t size)
    {
        return end >= offset + size ? bytes.Data() + (end - offset - size) : nullptr;
    }

    // Hands on the last unit. The next bytes begin a new stream.
    template <class UnitTaker>
    void Finish(UnitTaker takeUnit)
    {
        if (cut != NoCut)
            HandOn(cut, takeUnit);
        if (inUnit)
            HandOn(bytes.Count(), takeUnit);
        bytes.Clear();
        offset = 0;
        begin = 0;
        searched = 0;
        inUnit = false;
    }

private:
    // No real unit comes near to this. A damaged or foreign file must not fill the memory.
    static constexpr uint32_t LargestUnit = 256 << 20;

    static constexpr uint32_t MostKept = 16 << 20;
    static constexpr uint32_t CodeLook = 5;  // bytes that must be left for a start code to count
    static constexpr uint32_t MaxZeros = 3;  // before the 01 of a start code
    static constexpr uint32_t NoCut = UINT32_MAX;

    // Sets startCode to the next one; false: more bytes are needed.
    bool FindStartCode()
    {
        const unsigned char* const data = bytes.Data();
        const unsigned char* const end = data + bytes.Count();
        const unsigned char* const prefix = videoparams::FindStartCodePrefix(data + searched, end);
        if (prefix == end) {
            const uint32_t overlap = std::min(bytes.Count() - searched, uint32_t{2});
            searched = bytes.Count() - overlap;
            return false;
        }
        const auto at = static_cast<uint32_t>(prefix - data);
        const uint32_t start = at > begin && data[at - 1] == 0 ? at - 1 : at;
        searched = at;
        if (start + CodeLook > bytes.Count())
            return false;
        searched = at + 3;
        startCode = start;
        return true;
    }

    template <class UnitTaker>
    void EndUnit(uint32_t end, UnitTaker& takeUnit)
    {
        const bool isCutShort = cut != NoCut && end - cut < shortestUnit && end - begin <= LargestUnit;
        if (cut != NoCut && !isCutShort)
            HandOn(cut, takeUnit);
        isJoined = isJoined || isCutShort;
        if (inUnit && end - begin <= LargestUnit) {
            cut = end;
            return;
        }
        begin = end;
        inUnit = true;
    }

    template <class UnitTaker>
    void HandOn(uint32_t end, UnitTaker& takeUnit)
    {
        handedOn = begin;
        begin = end;
        cut = NoCut;
        handedOnJoined = isJoined;
        isJoined = false;
        takeUnit(bytes.Data() + handedOn, end - handedOn);
    }

    void Skip(uint32_t end)
    {
        begin = std::max(begin, end);
        inUnit = false;
    }

    void RemoveTaken()
    {
        const bool isKept = kept < offset + begin && offset + begin - kept <= MostKept;
        const uint32_t removed = isKept ? static_cast<uint32_t>(std::max(kept, offset) - offset) : begin;
        bytes.RemoveFirst(removed);
        offset += removed;
        begin -= removed;
        searched -= std::min(searched, removed);
        if (cut != NoCut)
            cut -= removed;
    }

    uint32_t shortestUnit;
    CBlock<unsigned char> bytes;  // what has not been handed on, or is kept, after a RemoveTaken

    uint64_t offset = 0;      // of the first of them in the stream
    uint64_t kept = Nowhere;  // in the stream

    // Places in `bytes`.
    uint32_t begin = 0;      // the present unit, or what may belong to the first start code
    uint32_t searched = 0;   // no start code ends before this that was not looked at
    uint32_t startCode = 0;  // from FindStartCode to EndUnit
    uint32_t handedOn = 0;   // the unit handed on last
    uint32_t cut = NoCut;    // the start code that ends the present unit, unless the unit there is too short

    bool inUnit = false;
    bool isJoined = false;        // short units go with the present one
    bool handedOnJoined = false;  // and with the one handed on last
};

}  // namespace web
