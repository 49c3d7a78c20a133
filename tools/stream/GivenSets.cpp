#include "stream/GivenSets.h"

#include "io/InputFile.h"
#include "io/ToolError.h"
#include "stream/Detection.h"
#include "stream/NalUnit.h"

#include "videoparams/nal_feeder.hpp"

#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t LargestFile = 1 << 20;

}  // namespace

std::vector<std::vector<unsigned char>> ReadGivenSets(const std::string& path, VideoCodecType codec)
{
    const std::string bytes = ReadWholeFile(path, LargestFile);
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::optional<VideoCodecType> found = RateCodecs(data, bytes.size()).Best();
    if (found && *found != codec)
        throw CToolError(fmt::format("{}: these parameter sets are {}, but the stream is {}", path,
                                     CodecName(*found), CodecName(codec)));
    std::vector<std::vector<unsigned char>> sets;
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate);
    const auto take = [&](const unsigned char* unit, unsigned int size) {
        if (NalUnit{codec, unit, size}.IsParameterSet())
            sets.emplace_back(unit, unit + size);
    };
    feeder.Feed(data, bytes.size(), take);
    feeder.Finish(take);
    if (sets.empty())
        throw CToolError(fmt::format("{}: there is no parameter set in it", path));
    return sets;
}

}  // namespace tool
