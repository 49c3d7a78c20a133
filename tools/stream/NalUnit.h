// One NAL unit of a stream and what its header says.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"
#include "stream/Sample.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tool {

// What a unit does to the access unit that it stands in, H.264 7.4.1.2.3 and H.265 7.4.2.4.4.
enum class UnitClass
{
    Slice,
    Leading,  // the first one behind the slices of a picture begins the next access unit
    Other,
};

struct NalUnit
{
    VideoCodecType codec = VideoCodecAVC;
    const unsigned char* data = nullptr;  // its start code
    uint32_t size = 0;
    uint64_t offset = 0;                     // in the stream
    uint64_t number = 0;                     // from 0
    std::shared_ptr<const Sample> sample{};  // the sample of a container that has it; null in a byte stream
    bool isOutOfBand = false;  // a parameter set of a container's sample description: belongs to no sample

    uint32_t StartCodeLength() const { return data[2] == 1 ? 3 : 4; }
    const unsigned char* Header() const { return data + StartCodeLength(); }
    uint32_t HeaderLength() const { return codec == VideoCodecAVC ? 1 : 2; }
    bool HasHeader() const { return size >= StartCodeLength() + HeaderLength(); }

    // All 0 where the unit has no whole header.
    uint32_t ForbiddenZeroBit() const { return HasHeader() ? Header()[0] >> 7 : 0; }
    uint32_t Type() const;
    uint32_t RefIdc() const;           // nal_ref_idc, H.264
    uint32_t LayerId() const;          // nuh_layer_id, H.265
    uint32_t TemporalIdPlus1() const;  // nuh_temporal_id_plus1, H.265

    UnitClass Class() const;
    bool IsSlice() const { return Class() == UnitClass::Slice; }
    bool IsKeySlice() const;
    bool IsIdrSlice() const;
    bool IsDelimiter() const;
    bool IsSps() const;
    bool IsPps() const;
    bool IsVps() const;
    bool IsSei() const;  // H.265: prefix SEI
};

const char* CodecName(VideoCodecType codec);

// The standard's name of a nal_unit_type.
std::string UnitTypeName(VideoCodecType codec, uint32_t nal_unit_type);

// The standard's name of an H.264 slice_type, or "" for a value that it does not know.
const char* SliceTypeName(int32_t slice_type);

}  // namespace tool
