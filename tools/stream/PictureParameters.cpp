#include "stream/PictureParameters.h"

#include "stream/AvcSyntax.h"
#include "stream/HevcSyntax.h"
#include "stream/ParameterSetId.h"
#include "stream/ProfileNames.h"

#include <fmt/format.h>

namespace tool {

namespace {

// pic_parameter_set_id has the widest range. A unit with a larger one is damaged.
constexpr uint32_t MaxId = 255;

std::string Level(uint32_t tenths)
{
    return tenths % 10 == 0 ? std::to_string(tenths / 10) : fmt::format("{}.{}", tenths / 10, tenths % 10);
}

std::shared_ptr<PictureFormat> ReadAvcFormat(const NalUnit& unit)
{
    CElementReader bits(unit);
    const std::optional<AvcSps> sps = ReadAvcSps(bits);
    if (!sps)
        return nullptr;
    auto format = std::make_shared<PictureFormat>();
    format->profile_idc = sps->profile_idc;
    format->profile = AvcProfileName(sps->profile_idc, sps->constraint_flags);
    format->level = IsAvcLevel1b(*sps) ? "1b" : Level(sps->level_idc);
    format->chroma_format_idc = sps->chroma_format_idc;
    format->lumaBitDepth = sps->bit_depth_luma_minus8 + 8;
    format->chromaBitDepth = sps->bit_depth_chroma_minus8 + 8;
    format->scan = sps->frame_mbs_only_flag ? Scan::Progressive : Scan::Interlaced;
    return format;
}

std::shared_ptr<PictureFormat> ReadHevcFormat(const NalUnit& unit)
{
    CElementReader bits(unit);
    const std::optional<HevcSps> sps = ReadHevcSps(bits);
    if (!sps)
        return nullptr;
    auto format = std::make_shared<PictureFormat>();
    format->profile_idc = sps->general_profile_idc;
    format->profile = HevcProfileName(sps->general_profile_idc);
    format->level = Level(sps->general_level_idc / 3);  // general_level_idc is 30 times the level
    format->tier = sps->general_tier_flag != 0 ? "High" : "Main";
    format->chroma_format_idc = sps->chroma_format_idc;
    format->lumaBitDepth = sps->bit_depth_luma_minus8 + 8;
    format->chromaBitDepth = sps->bit_depth_chroma_minus8 + 8;
    if (sps->general_progressive_source_flag != sps->general_interlaced_source_flag)
        format->scan = sps->general_progressive_source_flag ? Scan::Progressive : Scan::Interlaced;
    return format;
}

}  // namespace

void CPictureParameters::Take(const NalUnit& unit)
{
    const bool isSet = unit.IsVps() || unit.IsSps() || unit.IsPps();
    if (!isSet || unit.LayerId() != 0 || unit.ForbiddenZeroBit())
        return;
    const uint32_t id = ReadParameterSetId(unit);
    if (id > MaxId)
        return;
    Set& set = (unit.IsVps() ? videoSets : unit.IsSps() ? sequenceSets : pictureSets)[id];
    std::vector<unsigned char> bytes(unit.data, unit.data + unit.size);
    if (set.bytes == bytes)
        return;
    set.bytes = std::move(bytes);
    set.referredId = unit.IsVps() ? 0 : ReadReferredId(unit);
    if (unit.IsSps())
        TakeSps(set, unit);
}

void CPictureParameters::TakeSps(Set& set, const NalUnit& unit)
{
    const std::shared_ptr<PictureFormat> format =
        codec == VideoCodecAVC ? ReadAvcFormat(unit) : ReadHevcFormat(unit);
    if (format)
        format->info = ReadDescription(set);
    set.format = format;
}

// The library describes an access unit of the SPS alone, for H.265 after its VPS.
VideoInfo CPictureParameters::ReadDescription(const Set& sps)
{
    VideoInfo info{};
    const auto vps = videoSets.find(sps.referredId);
    if (codec == VideoCodecHEVC && vps != videoSets.end())
        ParseVideoParams(reader, vps->second.bytes.data(),
                         static_cast<unsigned int>(vps->second.bytes.size()), &info);
    ParseVideoParams(reader, sps.bytes.data(), static_cast<unsigned int>(sps.bytes.size()), &info);
    ParseVideoParams(reader, nullptr, 0, &info);
    return info;
}

std::optional<uint32_t> CPictureParameters::PpsIdOf(const NalUnit& slice) const
{
    constexpr uint32_t SliceStartBytes = 32;
    CElementReader bits(slice, nullptr, SliceStartBytes);
    if (codec == VideoCodecAVC)
        return ReadAvcSliceStart(slice, bits).pic_parameter_set_id;
    const std::optional<HevcSliceHeader> header = ReadHevcSliceHeader(slice, bits);
    return header ? std::optional(header->slice_pic_parameter_set_id) : std::nullopt;
}

bool CPictureParameters::Knows(const NalUnit& slice) const
{
    const std::optional<uint32_t> id = PpsIdOf(slice);
    const auto pps = id ? pictureSets.find(*id) : pictureSets.end();
    return pps != pictureSets.end() && sequenceSets.contains(pps->second.referredId);
}

std::shared_ptr<const PictureFormat> CPictureParameters::FormatOf(const NalUnit& slice)
{
    const std::optional<uint32_t> id = PpsIdOf(slice);
    const auto pps = id ? pictureSets.find(*id) : pictureSets.end();
    if (pps == pictureSets.end())
        return nullptr;
    pps->second.isUsed = true;
    const auto sps = sequenceSets.find(pps->second.referredId);
    if (sps == sequenceSets.end())
        return nullptr;
    sps->second.isUsed = true;
    if (codec == VideoCodecHEVC && videoSets.contains(sps->second.referredId))
        videoSets[sps->second.referredId].isUsed = true;
    return sps->second.format;
}

std::vector<std::string> CPictureParameters::Unused() const
{
    std::vector<std::string> unused;
    AddUnused(videoSets, "VPS", unused);
    AddUnused(sequenceSets, "SPS", unused);
    AddUnused(pictureSets, "PPS", unused);
    return unused;
}

void CPictureParameters::AddUnused(const Sets& sets, const char* kind, std::vector<std::string>& unused)
{
    for (const auto& [id, set] : sets) {
        if (!set.isUsed)
            unused.push_back(fmt::format("{} {}", kind, id));
    }
}

}  // namespace tool
