#pragma once

#include "bitstream/NalScanner.h"
#include "memory/Buffer.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

// The units of the frame that was split last: their addresses in the frame, and their sizes.
class CFrameSplit
{
public:
    explicit CFrameSplit(CNalScanner& unitScanner) : scanner(unitScanner) {}

    // On failure there are no units.
    Result Split(const unsigned char* frame, uint32_t size);

    uint32_t Count() const { return sizes.length; }
    unsigned char** Units() const { return Count() != 0 ? units.data : nullptr; }
    uint32_t* Sizes() const { return Count() != 0 ? sizes.data : nullptr; }

private:
    [[nodiscard]] Result CollectUnits();

    CNalScanner& scanner;
    BufferOf<unsigned char*> units;
    BufferOf<uint32_t> sizes;
};

}  // namespace videoparams
