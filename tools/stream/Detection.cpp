#include "stream/Detection.h"

#include "stream/FileFormat.h"
#include "stream/NalUnit.h"

#include "videoparams/nal_feeder.hpp"

#include <algorithm>
#include <cstdlib>

namespace tool {

namespace {

// How well a unit's header fits a codec. A parameter set counts more than a slice: more of its bits have to
// fit.
constexpr int Impossible = -1;
constexpr int Neutral = 0;
constexpr int Likely = 1;
constexpr int Telling = 4;

// After so many units, more would say the same.
constexpr size_t EnoughUnits = 200;

// profile_idc, H.264 Annexes A, F to I
bool IsAvcProfile(unsigned char profile_idc)
{
    static constexpr unsigned char Profiles[] = {44,  66,  77,  83,  86,  88,  100, 110, 118,
                                                 122, 128, 134, 135, 138, 139, 144, 244};
    return std::find(std::begin(Profiles), std::end(Profiles), profile_idc) != std::end(Profiles);
}

// The rules for nal_ref_idc are those of H.264 7.4.1.
int RateAsAvc(const NalUnit& unit)
{
    const uint32_t type = unit.Type();
    const bool isReference = unit.RefIdc() != 0;
    if (unit.ForbiddenZeroBit())
        return Impossible;
    if (type == 7) {
        const bool hasProfile = unit.size > unit.StartCodeLength() + 1 && IsAvcProfile(unit.Header()[1]);
        return isReference && hasProfile ? Telling : Impossible;
    }
    if (type == 1 || (type == 5 && isReference) || (type == 8 && isReference))
        return Likely;
    if (type == 6 || (type >= 9 && type <= 12))
        return isReference ? Impossible : Likely;
    return (type >= 2 && type <= 4) || (type >= 13 && type <= 15) || (type >= 19 && type <= 21) ? Neutral
                                                                                                : Impossible;
}

// The rules for the temporal layer are those of H.265 7.4.2.2.
int RateAsHevc(const NalUnit& unit)
{
    const uint32_t type = unit.Type();
    if (unit.ForbiddenZeroBit() || unit.TemporalIdPlus1() == 0)
        return Impossible;
    if (unit.LayerId() != 0)
        return unit.LayerId() < 8 && type <= 40 ? Neutral : Impossible;
    const bool isLowest = unit.TemporalIdPlus1() == 1;
    if (type == 32 || type == 33)
        return isLowest ? Telling : Impossible;
    if (type >= 16 && type <= 21)
        return isLowest ? Likely : Impossible;
    if (type <= 9 || (type >= 34 && type <= 40))
        return Likely;
    return type >= 62 ? Neutral : Impossible;
}

// A lead that a few more units would not change.
constexpr int CertainLead = 8;

}  // namespace

std::optional<VideoCodecType> CodecRating::Best() const
{
    if (std::max(avc, hevc) <= 0 || avc == hevc)
        return std::nullopt;
    return avc > hevc ? VideoCodecAVC : VideoCodecHEVC;
}

bool CodecRating::IsCertain() const
{
    return Best() && std::abs(avc - hevc) >= CertainLead;
}

CodecRating RateCodecs(const unsigned char* data, size_t size)
{
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate);
    CodecRating rating;
    size_t count = 0;
    const auto rate = [&](const unsigned char* unit, unsigned int unitSize) {
        const NalUnit avc{VideoCodecAVC, unit, unitSize};
        const NalUnit hevc{VideoCodecHEVC, unit, unitSize};
        if (!avc.HasHeader() || ++count > EnoughUnits)
            return;
        rating.avc += RateAsAvc(avc);
        rating.hevc += hevc.HasHeader() ? RateAsHevc(hevc) : Impossible;
    };
    feeder.Feed(data, size, rate);
    feeder.Finish(rate);
    return rating;
}

bool LooksLikeByteStream(std::string_view start)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(start.data());
    return FileFormatName(start).empty() && RateCodecs(bytes, start.size()).Best().has_value();
}

bool LooksLikeVideoFile(std::string_view start)
{
    return LooksLikeByteStream(start) || IsVideoContainer(start);
}

bool LooksLikeParameterSets(std::string_view start)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(start.data());
    const std::optional<VideoCodecType> codec = RateCodecs(bytes, start.size()).Best();
    bool hasOthers = !codec;
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate);
    const auto look = [&](const unsigned char* data, unsigned int size) {
        const NalUnit unit{codec.value_or(VideoCodecAVC), data, size};
        hasOthers = hasOthers || !(unit.IsVps() || unit.IsSps() || unit.IsPps());
    };
    feeder.Feed(bytes, start.size(), look, [&](const unsigned char*, size_t) { hasOthers = true; });
    feeder.Finish(look);
    return !hasOthers;
}

}  // namespace tool
