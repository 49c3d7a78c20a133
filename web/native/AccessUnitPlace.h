// Where the access units of an analysis lie in their stream. The library may leave out units, and adds
// parameter sets to key frames of H.264: an access unit has a place only if its bytes are those of the
// stream. They are compared, since no bookkeeping outside the library knows all that it leaves out.

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
        : rules(codecRules), stream(unitSplitter)
    {
        Clear();
    }

    // How long before the end of the stream so far an access unit begins that is just complete; 0: it has no
    // place.
    uint32_t DistanceToEnd(const VideoInfo& info)
    {
        const uint64_t end = Next();
        const unsigned char* const bytes = stream.Before(end, info.accessUnitSize);
        const bool isThere = bytes != nullptr && AreAlike(bytes, info.accessUnitData, info.accessUnitSize);
        return isThere ? static_cast<uint32_t>(stream.End() - end + info.accessUnitSize) : 0;
    }

    // The next access unit is to be looked for.
    void Leave() { stream.KeepFrom(Next()); }

    // The analysis has taken the unit that was handed on last, or failed to.
    void Note(const unsigned char* unit, bool isTaken)
    {
        const uint32_t type = rules.HeaderOf(unit[videoparams::StartCodeLength(unit)]).nal_unit_type;
        const videoparams::UnitClass unitClass = rules.TraitsOf(type).unitClass;
        if (unitClass == videoparams::UnitClass::Slice)
            next = NotSeen;
        else if (unitClass == videoparams::UnitClass::Leading && isTaken)
            next = std::min(next, stream.Offset());
    }

    // The next unit begins a stream.
    void Clear()
    {
        stream.KeepFrom(0);
        next = NotSeen;
    }

private:
    // The next access unit begins with the unit handed on last, or with one that was noted before.
    uint64_t Next() const { return std::min(next, stream.Offset()); }

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
    uint64_t next = NotSeen;  // the first unit of the next access unit, once it is there
};

}  // namespace web
