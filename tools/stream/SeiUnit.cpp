#include "stream/SeiUnit.h"

namespace tool {

uint32_t TrailingZeros(const NalUnit& unit)
{
    const uint32_t headerEnd = unit.StartCodeLength() + unit.HeaderLength();
    uint32_t end = unit.size;
    while (end > headerEnd && unit.data[end - 1] == 0)
        --end;
    return unit.size - end;
}

bool TakesMessage(const NalUnit& unit)
{
    const uint32_t end = unit.size - TrailingZeros(unit);
    return unit.IsSei() && !unit.ForbiddenZeroBit() && unit.LayerId() == 0 &&
           end > unit.StartCodeLength() + unit.HeaderLength() && unit.data[end - 1] == 0x80;
}

}  // namespace tool
