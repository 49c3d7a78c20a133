// Where the access units of an analysis lie in their stream. The library may leave out units, and adds
// parameter sets to key frames of H.264: an access unit has a place only if its bytes are those of the
// stream.

#pragma once

#include "UnitSplitter.h"

#include "VideoParams.h"
#include "bitstream/NalRules.h"
#include "bitstream/StartCode.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace web {

class CAccessUnitPlace
{
public:
    CAccessUnitPlace(const videoparams::NalRules& codecRules, CUnitSplitter& unitSplitter)
        : rules(codecRules), stream(unitSplitter)
    {}

    // The next access unit begins with the unit handed on last, or with one that was noted before. Returns
    // how long before the end of the stream so far the present one begins; 0: it has no place.
    uint32_t DistanceToEnd(const VideoInfo& info)
    {
        const uint64_t begin = end;
        end = std::min(next, stream.Offset());
        // Nothing was left out so far: an access unit of the right size has all its bytes.
        const bool isComplete = isPlaced && info.accessUnitSize == end - begin;
        const bool mayBeLonger = info.keyFrame != 0 && rules.delimiterType != videoparams::NoType;
        isPlaced = (isComplete && !mayBeLonger) || IsThere(info);
        if (isPlaced)
            stream.KeepNone();
        else
            stream.KeepFrom(end);
        return isPlaced ? static_cast<uint32_t>(stream.End() - end + info.accessUnitSize) : 0;
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
        isPlaced = isPlaced && isTaken;
    }

    // The next unit begins a stream.
    void Clear()
    {
        stream.KeepNone();
        next = NotSeen;
        end = NotSeen;
        isPlaced = true;
    }

private:
    bool IsThere(const VideoInfo& info)
    {
        const unsigned char* const bytes = stream.Before(end, info.accessUnitSize);
        return bytes != nullptr && std::memcmp(bytes, info.accessUnitData, info.accessUnitSize) == 0;
    }

    static constexpr uint64_t NotSeen = UINT64_MAX;

    const videoparams::NalRules& rules;
    CUnitSplitter& stream;
    uint64_t next = NotSeen;  // the first unit of the next access unit, once it is there
    uint64_t end = NotSeen;   // of the access unit before; at first the first unit of the stream
    bool isPlaced = true;     // whether that one had a place
};

}  // namespace web
