// Where the access units of an analysis are in their stream. The library may leave out units, and adds
// parameter sets to key frames of H.264. An access unit has a place only if its bytes are those of the
// stream. While the library has kept every byte of the stream, the sizes prove that; afterwards, and for
// such key frames, the bytes are compared.

#pragma once

#include "UnitSplitter.h"

#include "VideoParams.h"
#include "bitstream/NalRules.h"
#include "bitstream/StartCode.h"

#include <algorithm>
#include <cstdint>

namespace web {

class CAccessUnitPlace
{
public:
    CAccessUnitPlace(const videoparams::NalRules& codecRules, CUnitSplitter& unitSplitter)
        : rules(codecRules), stream(unitSplitter),
          addsParameterSets(rules.delimiterType != videoparams::NoType)
    {
        Clear();
    }

    // How long before the end of the stream so far an access unit begins that is just complete; 0: it has no
    // place.
    uint32_t DistanceToEnd(const VideoInfo& info)
    {
        const uint64_t begin = end;
        end = Next();
        // The access unit began at `begin` and ended at `end` or before. If it has all these bytes, it ended
        // at `end`, and nothing is missing.
        const bool isComplete = isWhole && !stream.HasShortUnits() && info.accessUnitSize == end - begin;
        const bool isPlaced = (isComplete && !MayBeLonger(info)) || IsThere(info);
        isWhole = isComplete && isPlaced;
        stream.KeepFrom(isWhole && !addsParameterSets ? CUnitSplitter::Nowhere : end);
        return isPlaced ? static_cast<uint32_t>(stream.End() - end + info.accessUnitSize) : 0;
    }

    // The same if nobody asks for the place of this access unit: always 0.
    uint32_t Skip()
    {
        end = Next();
        isWhole = false;
        stream.KeepFrom(CUnitSplitter::Nowhere);
        return 0;
    }

    // The analysis has taken the unit that was handed on last, or failed to.
    void Note(const unsigned char* unit, bool isTaken)
    {
        const uint32_t type = rules.HeaderOf(unit[videoparams::StartCodeLength(unit)]).nal_unit_type;
        const videoparams::UnitClass unitClass = rules.TraitsOf(type).unitClass;
        if (end == NotSeen)
            end = stream.Offset();
        if (unitClass == videoparams::UnitClass::Slice)
            next = NotSeen;
        else if (unitClass == videoparams::UnitClass::Leading && isTaken)
            next = std::min(next, stream.Offset());
        // The library may end an access unit at a short unit, which is not looked at here.
        isWhole = isWhole && isTaken && !stream.HasShortUnits();
    }

    // The next unit begins a stream.
    void Clear()
    {
        stream.KeepFrom(addsParameterSets ? 0 : CUnitSplitter::Nowhere);
        next = NotSeen;
        end = NotSeen;
        isWhole = true;
    }

private:
    // The next access unit begins with the unit handed on last, or with one that was noted before.
    uint64_t Next() const { return std::min(next, stream.Offset()); }

    bool MayBeLonger(const VideoInfo& info) const { return addsParameterSets && info.keyFrame != 0; }

    bool IsThere(const VideoInfo& info)
    {
        const unsigned char* const bytes = stream.Before(end, info.accessUnitSize);
        return bytes != nullptr && AreAlike(bytes, info.accessUnitData, info.accessUnitSize);
    }

    // As memcmp, whose version for WebAssembly takes one byte at a time; this loop becomes SIMD.
    static bool AreAlike(const unsigned char* one, const unsigned char* other, uint32_t size)
    {
        constexpr uint32_t BlockSize = 1024;
        for (uint32_t begin = 0; begin < size; begin += BlockSize) {
            const uint32_t end = begin + std::min(size - begin, BlockSize);
            unsigned char difference = 0;
            for (uint32_t i = begin; i < end; ++i)
                difference |= one[i] ^ other[i];
            if (difference != 0)
                return false;
        }
        return true;
    }

    static constexpr uint64_t NotSeen = UINT64_MAX;

    const videoparams::NalRules& rules;
    CUnitSplitter& stream;
    bool addsParameterSets;   // the library, to key frames
    uint64_t next = NotSeen;  // the first unit of the next access unit, once it is there
    uint64_t end = NotSeen;   // of the access unit before; at first the first unit of the stream
    bool isWhole = true;      // the access units so far are the stream, up to this end
};

}  // namespace web
