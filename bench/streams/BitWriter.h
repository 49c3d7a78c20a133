#pragma once

#include "streams/Bytes.h"

#include <map>
#include <string>

namespace videoparams::streams {

// Writes syntax elements as the descriptors of the standards name them.
class BitWriter
{
public:
    BitWriter& U(unsigned count, uint64_t value);
    BitWriter& Ue(uint32_t value);
    BitWriter& Se(int32_t value);
    BitWriter& Align(unsigned bit);              // fills the last byte with the bit
    BitWriter& TrailingBits();                   // rbsp_trailing_bits()
    BitWriter& Append(const Bytes& wholeBytes);  // at a byte boundary

    // A correct writer with one fault: its `index`-th ue(v), counted from 0, becomes `value`.
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

Bytes Escaped(const Bytes& rbsp);  // emulation prevention applied

// NAL units of an RBSP without its header; their start codes have four bytes.
Bytes AvcUnit(uint32_t nal_unit_type, const Bytes& rbsp, uint32_t nal_ref_idc = 3);
Bytes HevcUnit(uint32_t nal_unit_type, const Bytes& rbsp, uint32_t nuh_layer_id = 0);

// The same unit with a start code of three bytes.
Bytes Short(const Bytes& unit);

template <typename Syntax>
Bytes RbspOf(const Syntax& syntax)
{
    BitWriter writer;
    syntax.WriteTo(writer);
    return writer.Written();
}

}  // namespace videoparams::streams
