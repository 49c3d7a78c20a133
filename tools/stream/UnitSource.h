// The NAL units of a file, one by one, read in pieces.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/InputFile.h"
#include "stream/NalUnit.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool {

class CUnitSource
{
public:
    using TakeUnit = std::function<void(const NalUnit&)>;
    using TakeSkipped = std::function<void(const unsigned char*, size_t)>;

    // Reads as much as it takes to tell the codec, unless that is given. Throws CToolError when it cannot be
    // told.
    CUnitSource(const std::string& path, std::optional<VideoCodecType> codec);

    // Reads the file to its end; once. Units and what belongs to none (bytes in front of the first start
    // code, units that are too large) together are the file.
    void ForEach(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped = {});

    // Before ForEach: results come out meanwhile, and a progress bar on the same terminal would break them
    // up.
    void PrintsLines();

    VideoCodecType Codec() const { return codec; }
    const std::string& Name() const { return input.Name(); }

    uint64_t ReadBytes() const { return readBytes; }
    uint64_t UnitCount() const { return unitCount; }
    uint64_t SkippedBytes() const { return skippedBytes; }  // leading zeros, which are allowed, not counted

private:
    void ReadHead();
    VideoCodecType TellCodec() const;

    CInputFile input;
    std::vector<unsigned char> head;  // what was read to tell the codec
    VideoCodecType codec;
    bool showsProgress = true;
    uint64_t readBytes = 0;
    uint64_t unitCount = 0;
    uint64_t skippedBytes = 0;
};

}  // namespace tool
