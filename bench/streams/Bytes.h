#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace videoparams::streams {

using Bytes = std::vector<unsigned char>;

inline Bytes& operator+=(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

inline Bytes operator+(Bytes bytes, const Bytes& more)
{
    return bytes += more;
}

inline Bytes Repeat(const Bytes& bytes, size_t count)
{
    Bytes repeated;
    repeated.reserve(bytes.size() * count);
    for (size_t i = 0; i < count; ++i)
        repeated += bytes;
    return repeated;
}

inline Bytes Join(const std::vector<Bytes>& pieces)
{
    Bytes joined;
    for (const Bytes& piece : pieces)
        joined += piece;
    return joined;
}

inline Bytes CopyOf(const unsigned char* data, size_t size)
{
    return data == nullptr ? Bytes{} : Bytes(data, data + size);
}

inline uint32_t Size(const Bytes& bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

std::string Hex(const Bytes& bytes);

}  // namespace videoparams::streams
