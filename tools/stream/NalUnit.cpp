#include "stream/NalUnit.h"

namespace tool {

namespace {

constexpr uint32_t HevcUnitIdrWithRadl = 19;
constexpr uint32_t HevcUnitIdrWithoutLeading = 20;
constexpr uint32_t HevcUnitSuffixSei = 40;

}  // namespace

const videoparams::NalRules& NalUnit::Rules() const
{
    return codec == VideoCodecAVC ? videoparams::avcRules : videoparams::hevcRules;
}

uint32_t NalUnit::RefIdc() const
{
    return codec == VideoCodecAVC && HasHeader() ? Rules().HeaderOf(Header()[0]).nal_ref_idc : 0;
}

uint32_t NalUnit::LayerId() const
{
    return HasHeader() && codec == VideoCodecHEVC ? (Header()[0] & 1u) << 5 | Header()[1] >> 3 : 0;
}

uint32_t NalUnit::TemporalIdPlus1() const
{
    return HasHeader() && codec == VideoCodecHEVC ? Header()[1] & 7u : 0;
}

uint32_t NalUnit::Type() const
{
    return HasHeader() ? Rules().HeaderOf(Header()[0]).nal_unit_type : videoparams::NoType;
}

bool NalUnit::IsIdrSlice() const
{
    if (codec == VideoCodecAVC)
        return Type() == videoparams::AvcUnitIdrSlice;
    return Type() == HevcUnitIdrWithRadl || Type() == HevcUnitIdrWithoutLeading;
}

bool NalUnit::IsDelimiter() const
{
    return Type() == Either(videoparams::AvcUnitDelimiter, videoparams::HevcUnitDelimiter);
}

bool NalUnit::IsVps() const
{
    return codec == VideoCodecHEVC && Type() == videoparams::HevcUnitVps;
}

bool NalUnit::IsSps() const
{
    return Type() == Either(videoparams::AvcUnitSps, videoparams::HevcUnitSps);
}

bool NalUnit::IsPps() const
{
    return Type() == Either(videoparams::AvcUnitPps, videoparams::HevcUnitPps);
}

bool NalUnit::IsAnySei() const
{
    return IsSei() || (codec == VideoCodecHEVC && Type() == HevcUnitSuffixSei);
}

}  // namespace tool
