#include "streams/BitWriter.h"

#include <cstdio>

namespace videoparams::streams {

std::string Hex(const Bytes& bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

BitWriter& BitWriter::U(unsigned count, uint64_t value)
{
    for (unsigned i = count; i-- > 0;) {
        if (bitCount % 8 == 0)
            bytes.push_back(0);
        const auto bit = i < 64 ? static_cast<unsigned>(value >> i & 1) : 0;
        bytes.back() = static_cast<unsigned char>(bytes.back() | bit << (7 - bitCount % 8));
        ++bitCount;
    }
    return *this;
}

// 9.1: as many zeros as the binary form of value + 1 has digits after its first
BitWriter& BitWriter::Ue(uint32_t value)
{
    if (ueCount++ == ueToReplace)
        value = ueReplacement;
    const uint64_t codeNumber = uint64_t{value} + 1;
    unsigned suffixLength = 0;
    while (codeNumber >> (suffixLength + 1) != 0)
        ++suffixLength;
    return U(suffixLength, 0).U(suffixLength + 1, codeNumber);
}

// 9.1.1: 1, -1, 2, -2, …
BitWriter& BitWriter::Se(int32_t value)
{
    const int64_t wide = value;
    return Ue(static_cast<uint32_t>(wide > 0 ? 2 * wide - 1 : -2 * wide));
}

BitWriter& BitWriter::Align(unsigned bit)
{
    while (bitCount % 8 != 0)
        U(1, bit);
    return *this;
}

BitWriter& BitWriter::TrailingBits()
{
    return U(1, 1).Align(0);
}

BitWriter& BitWriter::Append(const Bytes& wholeBytes)
{
    bytes += wholeBytes;
    bitCount += 8 * wholeBytes.size();
    return *this;
}

void BitWriter::ReplaceUe(size_t index, uint32_t value)
{
    ueToReplace = index;
    ueReplacement = value;
}

BitWriter& BitWriter::Mark(const std::string& name)
{
    marks[name] = bitCount;
    return *this;
}

Bytes Escaped(const Bytes& rbsp)
{
    Bytes escaped;
    escaped.reserve(rbsp.size() + 16);
    unsigned zeros = 0;
    for (const unsigned char byte : rbsp) {
        if (zeros == 2 && byte <= 3) {
            escaped.push_back(3);
            zeros = 0;
        }
        escaped.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return escaped;
}

Bytes AvcUnit(uint32_t nal_unit_type, const Bytes& rbsp, uint32_t nal_ref_idc)
{
    const auto header = static_cast<unsigned char>(nal_ref_idc << 5 | nal_unit_type);
    return Bytes{0, 0, 0, 1} + Escaped(Bytes{header} + rbsp);
}

Bytes HevcUnit(uint32_t nal_unit_type, const Bytes& rbsp, uint32_t nuh_layer_id)
{
    const auto first = static_cast<unsigned char>(nal_unit_type << 1 | nuh_layer_id >> 5);
    const auto second = static_cast<unsigned char>((nuh_layer_id & 31) << 3 | 1);  // nuh_temporal_id_plus1
    return Bytes{0, 0, 0, 1} + Escaped(Bytes{first, second} + rbsp);
}

Bytes Short(const Bytes& unit)
{
    return {unit.begin() + 1, unit.end()};
}

}  // namespace videoparams::streams
