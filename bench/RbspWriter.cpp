#include "RbspWriter.h"

#include <bit>

namespace bench {

void RbspWriter::U(uint32_t count, uint32_t value)
{
    while (count != 0) {
        if (freeBits == 0) {
            bytes.push_back(0);
            freeBits = 8;
        }
        --count;
        --freeBits;
        bytes.back() = static_cast<unsigned char>(bytes.back() | ((value >> count & 1) << freeBits));
    }
}

void RbspWriter::Ue(uint32_t value)
{
    const auto length = static_cast<uint32_t>(std::bit_width(value + 1));
    U(length - 1, 0);
    U(length, value + 1);
}

void RbspWriter::Se(int32_t value)
{
    Ue(value > 0 ? 2 * static_cast<uint32_t>(value) - 1 : 2 * static_cast<uint32_t>(-value));
}

void RbspWriter::TrailingBits()
{
    U(1, 1);
    AlignWith(0);
}

void RbspWriter::AlignWith(uint32_t bit)
{
    while (freeBits != 0)
        U(1, bit);
}

void RbspWriter::Append(const Bytes& wholeBytes)
{
    bytes.insert(bytes.end(), wholeBytes.begin(), wholeBytes.end());
}

void AppendUnit(Bytes& stream, const Bytes& header, const Bytes& rbsp)
{
    stream.insert(stream.end(), {0, 0, 0, 1});
    stream.insert(stream.end(), header.begin(), header.end());
    uint32_t zeros = 0;
    for (const unsigned char byte : rbsp) {
        if (zeros == 2 && byte <= 3) {
            stream.push_back(3);
            zeros = 0;
        }
        stream.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

}  // namespace bench
