#pragma once

#include <cstdint>
#include <vector>

namespace bench {

using Bytes = std::vector<unsigned char>;

// Writes the bits of an RBSP: u(n), ue(v), se(v).
class RbspWriter
{
public:
    void U(uint32_t count, uint32_t value);
    void Ue(uint32_t value);
    void Se(int32_t value);

    void TrailingBits();                   // rbsp_trailing_bits()
    void AlignWith(uint32_t bit);          // up to the next byte
    void Append(const Bytes& wholeBytes);  // at a byte boundary

    const Bytes& Rbsp() const { return bytes; }

private:
    Bytes bytes;
    uint32_t freeBits = 0;  // in the last byte
};

// Appends a unit: start code, header, and the RBSP with emulation prevention.
void AppendUnit(Bytes& stream, const Bytes& header, const Bytes& rbsp);

}  // namespace bench
