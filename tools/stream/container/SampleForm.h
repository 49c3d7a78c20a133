// How a container stores the NAL units of a sample: with start codes (Annex B), or each after a length field
// as in ISO/IEC 14496-15 (MP4, MOV, MKV, FLV). The sample description of the second form also has parameter
// sets.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace tool {

struct SampleForm
{
    uint32_t lengthSize = 0;  // bytes of a length field: 1 to 4; 0: start codes

    // The VPS, SPS and PPS of the sample description, each with a start code of four bytes.
    std::vector<std::vector<unsigned char>> parameterSets;
};

// AVCDecoderConfigurationRecord, HEVCDecoderConfigurationRecord, or parameter sets with start codes. What is
// cut short is read as far as it goes.
SampleForm ReadSampleForm(VideoCodecType codec, const unsigned char* description, size_t size);

// Hands on the units of a sample with start codes, and returns the bytes that belong to none. A sample with
// length fields of four bytes is changed: start codes take their place.
class CSampleCutter
{
public:
    using TakeUnit = std::function<void(const unsigned char*, size_t)>;

    size_t Cut(uint32_t lengthSize, unsigned char* sample, size_t size, const TakeUnit& takeUnit);

private:
    static size_t CutAtStartCodes(const unsigned char* sample, size_t size, const TakeUnit& takeUnit);
    size_t CutAtLengths(uint32_t lengthSize, unsigned char* sample, size_t size, const TakeUnit& takeUnit);

    std::vector<unsigned char> unit;  // for length fields of fewer than four bytes
};

}  // namespace tool
