// Which parameter sets the pictures of a stream use, and what the SPS of a picture says.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/Handle.h"
#include "stream/NalUnit.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

enum class Scan
{
    Unknown,
    Progressive,
    Interlaced,  // fields, or frames of two fields
};

// What an SPS says of the pictures that use it.
struct PictureFormat
{
    VideoInfo info{};  // size, rate and colour, as the library reads them
    uint32_t profile_idc = 0;
    std::string profile;  // its name
    std::string level;    // "4.1"
    std::string tier;     // H.265: "Main" or "High"; empty for H.264
    uint32_t chroma_format_idc = 0;
    uint32_t lumaBitDepth = 0;
    uint32_t chromaBitDepth = 0;
    Scan scan = Scan::Unknown;
};

class CPictureParameters
{
public:
    explicit CPictureParameters(VideoCodecType streamCodec) : codec(streamCodec), reader(streamCodec) {}

    // A parameter set of the base layer. Other units are ignored.
    void Take(const NalUnit& unit);

    // Whether the parameter sets of the slice are there.
    bool Knows(const NalUnit& slice) const;

    // Of the SPS to which the slice refers by way of its PPS; null if one of them is unknown.
    std::shared_ptr<const PictureFormat> FormatOf(const NalUnit& slice);

    // "SPS 1", "PPS 4": the sets that no picture used.
    std::vector<std::string> Unused() const;

private:
    struct Set
    {
        std::vector<unsigned char> bytes;
        uint32_t referredId = 0;                      // of the SPS or VPS
        std::shared_ptr<const PictureFormat> format;  // of an SPS
        bool isUsed = false;
    };
    using Sets = std::map<uint32_t, Set>;

    std::optional<uint32_t> PpsIdOf(const NalUnit& slice) const;
    void TakeSps(Set& set, const NalUnit& unit);
    VideoInfo ReadDescription(const Set& sps);
    static void AddUnused(const Sets& sets, const char* kind, std::vector<std::string>& unused);

    VideoCodecType codec;
    CParseHandle reader;  // gets one SPS after the other
    Sets videoSets;
    Sets sequenceSets;
    Sets pictureSets;
};

}  // namespace tool
