#include "stream/SeiUnit.h"

#include "bitstream/EmulationPrevention.h"
#include "userdata/SeiMessage.h"

#include <vector>

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

bool HasMessage(const NalUnit& unit, uint32_t payloadType)
{
    const uint32_t size = unit.size - unit.StartCodeLength();
    std::vector<unsigned char> rbsp(size);
    const uint32_t rbspSize = videoparams::RemoveEmulationPrevention(unit.Header(), size, size, rbsp.data());
    videoparams::CSeiMessageWalk messages(rbsp.data(), rbspSize, unit.HeaderLength());
    for (videoparams::SeiMessage message; messages.Next(message);) {
        if (message.payloadType == payloadType)
            return true;
    }
    return false;
}

}  // namespace tool
