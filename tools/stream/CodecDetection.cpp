#include "stream/CodecDetection.h"

#include "stream/NalUnit.h"

#include "videoparams/nal_feeder.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tool {

namespace {

// How well a unit's header goes with a codec. A parameter set says more than a slice: it has more that must
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

bool StartsWith(const unsigned char* data, size_t size, size_t offset, std::string_view text)
{
    return size >= offset + text.size() && std::memcmp(data + offset, text.data(), text.size()) == 0;
}

}  // namespace

std::optional<VideoCodecType> DetectCodec(const unsigned char* data, size_t size)
{
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate);
    size_t count = 0;
    int avcRating = 0;
    int hevcRating = 0;
    const auto rate = [&](const unsigned char* unit, unsigned int unitSize) {
        const NalUnit avc{VideoCodecAVC, unit, unitSize, 0, 0};
        const NalUnit hevc{VideoCodecHEVC, unit, unitSize, 0, 0};
        if (!avc.HasHeader() || ++count > EnoughUnits)
            return;
        avcRating += RateAsAvc(avc);
        hevcRating += hevc.HasHeader() ? RateAsHevc(hevc) : Impossible;
    };
    feeder.Feed(data, size, rate);
    feeder.Finish(rate);
    if (std::max(avcRating, hevcRating) <= 0 || avcRating == hevcRating)
        return std::nullopt;
    return avcRating > hevcRating ? VideoCodecAVC : VideoCodecHEVC;
}

std::string DetectContainer(const unsigned char* data, size_t size)
{
    if (StartsWith(data, size, 4, "ftyp") || StartsWith(data, size, 4, "moov") ||
        StartsWith(data, size, 4, "mdat"))
        return "an MP4 file";
    if (StartsWith(data, size, 0, "\x1A\x45\xDF\xA3"))
        return "a Matroska file";
    if (StartsWith(data, size, 0, "RIFF"))
        return "an AVI file";
    if (StartsWith(data, size, 0, "FLV\x01"))
        return "an FLV file";
    if (StartsWith(data, size, 0, "G") && StartsWith(data, size, 188, "G") &&
        StartsWith(data, size, 376, "G"))
        return "an MPEG transport stream";
    if (StartsWith(data, size, 0, std::string_view("\0\0\1\xBA", 4)))
        return "an MPEG program stream";
    return "";
}

}  // namespace tool
