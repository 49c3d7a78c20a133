#include "stream/ElementReader.h"

#include "bitstream/EmulationPrevention.h"

#include <algorithm>

namespace tool {

CElementReader::CElementReader(const NalUnit& unit, std::vector<SyntaxElement>* list, uint32_t mostBytes)
    : elements(list)
{
    if (!unit.HasHeader())
        return;
    const uint32_t headLength = unit.StartCodeLength() + unit.HeaderLength();
    const uint32_t size = unit.size - headLength;
    const uint32_t limit = std::min(size, mostBytes);
    rbsp.resize(limit);
    const uint32_t length =
        videoparams::RemoveEmulationPrevention(unit.data + headLength, size, limit, rbsp.data());
    bits = videoparams::CBitReader(rbsp.data(), length);
}

}  // namespace tool
