#pragma once

#include <VideoParams.h>
#include <string>
#include <vector>

// What the slices of an input contain after their headers.
enum class Payload
{
    Real,        // the bytes of the real stream: headers cost more than the search
    Plain,       // 16 KiB without zeros
    Dense,       // 16 KiB of 00 00 03: emulation prevention everywhere
    Misaligned,  // as Plain, in a buffer that begins 13 bytes after a multiple of 64
};

constexpr const char* PayloadNames[] = {"real", "plain", "dense", "misaligned"};

struct Range
{
    unsigned char* data;
    unsigned int size;
};

// A stream in memory, the same in each run of the program.
class CFixedInput
{
public:
    // Reads a file and gives its slices the payload.
    CFixedInput(const std::string& file, VideoCodecType videoCodec, Payload kind);

    // The same stream, with a message in each access unit.
    CFixedInput WithUserData() const;

    VideoCodecType Codec() const { return codec; }
    const std::vector<Range>& AccessUnits() const { return accessUnits; }

    // The units of all access units, short ones joined to the previous unit.
    const std::vector<Range>& Units() const { return units; }

private:
    using Bytes = std::vector<unsigned char>;

    CFixedInput(const Bytes& stream, VideoCodecType videoCodec, Payload kind);
    void Place(const Bytes& stream);
    void FindAccessUnits();
    void AppendPayload(Bytes& unit) const;

    VideoCodecType codec;
    Payload payload;
    std::vector<Bytes> blocks;  // one; moves with the object, so addresses stay
    std::vector<Range> units;
    std::vector<Range> accessUnits;
};
