// Cuts a byte stream (Annex B) that comes in pieces into NAL units.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/NalUnit.h"

#include "videoparams/nal_feeder.hpp"

#include <functional>

namespace tool {

class CUnitCutter
{
public:
    using TakeUnit = std::function<void(const NalUnit&)>;
    using TakeSkipped = std::function<void(const unsigned char*, size_t)>;

    // `takeUnit` gets every unit with its number and offset; the bytes are valid during the call.
    // `takeSkipped` gets the bytes that belong to no unit; it may be empty.
    CUnitCutter(VideoCodecType codec, TakeUnit takeUnit, TakeSkipped takeSkipped = {});

    void Take(const unsigned char* data, size_t size);
    void Finish();

    uint64_t UnitCount() const { return unitCount; }
    // Bytes that belong to no unit. Zeros before the first start code are allowed and not counted.
    uint64_t SkippedBytes() const { return skippedBytes; }

private:
    void TakeOne(const unsigned char* unit, uint32_t size, uint64_t offset);
    void TakeLast(const unsigned char* unit, uint32_t size);
    void Skip(const unsigned char* bytes, size_t size);

    VideoCodecType codec;
    TakeUnit takeUnit;
    TakeSkipped takeSkipped;
    CNalFeeder feeder;
    uint64_t unitCount = 0;
    uint64_t skippedBytes = 0;
    bool isLeading = true;
};

}  // namespace tool
