#pragma once

#include "support/Bytes.h"

#include <map>
#include <string>

namespace videoparams::test {

// Writes syntax elements as the descriptors of the standards name them.
class BitWriter
{
public:
    BitWriter& U(unsigned count, uint64_t value);
    BitWriter& Ue(uint32_t value);
    BitWriter& Se(int32_t value);
    BitWriter& Align(unsigned bit);  // fills the last byte with the bit
    BitWriter& TrailingBits();       // rbsp_trailing_bits()
    BitWriter& Append(const Bytes& bytes);

    // A sound writer with one fault: its `index`-th ue(v), counted from 0, becomes `value`.
    void ReplaceUe(size_t index, uint32_t value);
    size_t UeCount() const { return ueCount; }

    // Names the bit position reached; of elements that repeat, the last counts.
    BitWriter& Mark(const std::string& name);
    size_t BitsTo(const std::string& name) const { return marks.at(name); }

    size_t BitCount() const { return bitCount; }
    const Bytes& Written() const { return bytes; }

private:
    Bytes bytes;
    size_t bitCount = 0;
    std::map<std::string, size_t> marks;
    size_t ueCount = 0;
    size_t ueToReplace = SIZE_MAX;
    uint32_t ueReplacement = 0;
};

enum class StartCode : uint32_t
{
    ThreeBytes = 3,
    FourBytes = 4,
};

Bytes PrefixOf(StartCode startCode);
Bytes Escaped(const Bytes& rbsp);  // emulation prevention applied

// NAL units of an RBSP without its header.
Bytes AvcUnit(uint32_t nal_unit_type, const Bytes& rbsp, uint32_t nal_ref_idc = 3,
              StartCode startCode = StartCode::FourBytes);
Bytes HevcUnit(uint32_t nal_unit_type, const Bytes& rbsp, StartCode startCode = StartCode::FourBytes);

}  // namespace videoparams::test
