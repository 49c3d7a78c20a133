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
    Small,   // 1.5 KB an access unit
    Medium,  // 60 KB
    Large,   // 1 MB; in the cache, one that fills it and one of a few bytes
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

// Bytes from a page's beginning on, followed by the padding that libavcodec wants.
using PageBytes = std::unique_ptr<unsigned char[], FreeMemory>;
PageBytes AllocatePages(size_t size);

struct AccessUnit
{
    unsigned char* data;
    unsigned int size;
};

// A synthetic stream: delimiter, parameter sets in front of an IDR picture, a SEI unit with a user-data
// message, one slice of random bytes with emulation prevention.
struct Stream
{
    PageBytes bytes;
    size_t size = 0;
    std::vector<AccessUnit> accessUnits;
};

// No stream has this byte, so that a search for it runs to the end.
constexpr unsigned char AbsentByte = 0xB5;

// Made at the first call, kept for the later ones.
const Stream& GetStream(const StreamKey& key);

// At least `size` bytes of access units of `accessUnitSize`.
Stream MakeStream(VideoCodecType codec, size_t accessUnitSize, size_t size);

}  // namespace bench
