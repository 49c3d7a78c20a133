#pragma once

#include "VideoParams.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace bench {

enum class UnitSize
{
    Small,   // 1.5 KB per access unit
    Medium,  // 60 KB
    Large,   // 1 MB; a stream in the cache has one such access unit and one of a few bytes
};

enum class Residence
{
    Cache,   // 128 KB: stays in the second-level cache
    Memory,  // 200 MB
};

struct StreamKey
{
    VideoCodecType codec;
    UnitSize unitSize;
    Residence residence;

    std::string Name() const;  // H264/medium/cache
    auto operator<=>(const StreamKey&) const = default;
};

struct FreeMemory
{
    void operator()(void* memory) const { std::free(memory); }
};

// Bytes that begin at a page, followed by the padding that libavcodec needs.
using PageBytes = std::unique_ptr<unsigned char[], FreeMemory>;
PageBytes AllocatePages(size_t size);

struct AccessUnit
{
    unsigned char* data;
    unsigned int size;
};

// A synthetic stream. Each access unit has a delimiter, parameter sets (IDR pictures only), an SEI unit with
// a user-data message, and one slice of random bytes with emulation prevention.
struct Stream
{
    PageBytes bytes;
    size_t size = 0;
    std::vector<AccessUnit> accessUnits;
};

// No stream has this byte, so a search for it reads the whole stream.
constexpr unsigned char AbsentByte = 0xB5;

// The first call makes the stream; later calls return the same one.
const Stream& GetStream(const StreamKey& key);

// At least `size` bytes, in access units of `accessUnitSize` bytes.
Stream MakeStream(VideoCodecType codec, size_t accessUnitSize, size_t size);

}  // namespace bench
