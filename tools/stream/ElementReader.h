// Reads the syntax elements of a unit by name. A list of what was read can be kept, to show the unit to
// people.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "bitstream/BitReader.h"
#include "stream/NalUnit.h"

#include <cstdint>
#include <vector>

namespace tool {

struct SyntaxElement
{
    const char* name;
    int64_t value;
};

class CElementReader
{
public:
    // Begins after the unit header. Only the first bytes are read: slice headers and parameter sets are
    // shorter.
    explicit CElementReader(const NalUnit& unit, std::vector<SyntaxElement>* list = nullptr,
                            uint32_t mostBytes = 4096);
    CElementReader(const CElementReader&) = delete;
    CElementReader& operator=(const CElementReader&) = delete;

    uint32_t Bits(const char* name, uint32_t count) { return Note(name, bits.Bits(count)); }
    bool Flag(const char* name) { return Note(name, bits.Bits(1)) != 0; }
    uint32_t Ue(const char* name) { return Note(name, bits.Ue()); }
    int32_t Se(const char* name) { return Note(name, bits.Se()); }
    void Skip(uint32_t count) { bits.Bits(count); }

    bool PastEnd() const { return bits.PastEnd(); }

private:
    template <class Value>
    Value Note(const char* name, Value value)
    {
        if (elements != nullptr && elements->size() < MostElements && !bits.PastEnd())
            elements->push_back({name, value});
        return value;
    }

    static constexpr size_t MostElements = 4096;

    std::vector<unsigned char> rbsp;
    videoparams::CBitReader bits;
    std::vector<SyntaxElement>* elements;
};

}  // namespace tool
