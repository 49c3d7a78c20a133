// One NAL unit of a stream and its header.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"
#include "bitstream/NalRules.h"
#include "bitstream/StartCode.h"
#include "stream/Sample.h"
#include "stream/UnitNames.h"

#include <cstdint>
#include <memory>

namespace tool {

using videoparams::UnitClass;

struct NalUnit
{
    VideoCodecType codec = VideoCodecAVC;
    const unsigned char* data = nullptr;  // its start code
    uint32_t size = 0;
    uint64_t offset = 0;                     // in the stream
    uint64_t number = 0;                     // from 0
    std::shared_ptr<const Sample> sample{};  // the sample of a container that has it; null in a byte stream
    bool isOutOfBand = false;  // a parameter set that is not in the stream: given, or of a sample description
    bool isGiven = false;      // by the user: the file does not have it

    uint32_t StartCodeLength() const { return videoparams::StartCodeLength(data); }
    const unsigned char* Header() const { return data + StartCodeLength(); }
    uint32_t HeaderLength() const { return Rules().headerLength; }
    bool HasHeader() const { return size >= StartCodeLength() + HeaderLength(); }

    // nal_unit_header(). Without a whole header the type is NoType, and the other fields are 0.
    uint32_t ForbiddenZeroBit() const { return HasHeader() ? Header()[0] >> 7 : 0; }
    uint32_t Type() const;
    uint32_t RefIdc() const;           // nal_ref_idc, H.264
    uint32_t LayerId() const;          // nuh_layer_id, H.265
    uint32_t TemporalIdPlus1() const;  // nuh_temporal_id_plus1, H.265

    const videoparams::NalRules& Rules() const;
    UnitClass Class() const { return Rules().TraitsOf(Type()).unitClass; }
    bool IsSlice() const { return Class() == UnitClass::Slice; }
    bool IsKeySlice() const { return Rules().TraitsOf(Type()).isKeySlice; }
    bool IsIdrSlice() const;
    bool IsDelimiter() const;
    bool IsVps() const;
    bool IsSps() const;
    bool IsPps() const;
    bool IsParameterSet() const { return IsVps() || IsSps() || IsPps(); }
    bool IsSei() const { return Type() == Rules().seiType; }  // H.265: prefix SEI
    bool IsAnySei() const;                                    // H.265: prefix or suffix SEI

private:
    uint32_t Either(uint32_t avc, uint32_t hevc) const { return codec == VideoCodecAVC ? avc : hevc; }
};

}  // namespace tool
