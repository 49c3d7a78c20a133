// Keeps the parameter sets that an H.264 handle holds up with its stream. The handle holds the first ones and
// puts them into key frames that carry none; where the stream has changed them meanwhile, the host must say.
//
//     refresh-parameter-sets FILE...    the files one behind the other, as one stream
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"

#include <VideoParams.h>
#include <cstdio>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// Whether the set differs from the one kept so far, which it replaces.
bool Keep(Bytes& kept, const unsigned char* set, unsigned int size)
{
    const Bytes found(set, set + size);
    if (found.empty() || found == kept)
        return false;
    kept = found;
    return true;
}

unsigned int SizeOf(const Bytes& bytes)
{
    return static_cast<unsigned int>(bytes.size());
}

}  // namespace

int main(int argc, char** argv)
{
    void* parser = nullptr;
    if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
        return 1;

    Bytes sps;
    Bytes pps;
    bool hasChanged = false;
    unsigned int number = 0;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        ParameterSetData found{};
        GetParameterSetData(parser, const_cast<unsigned char*>(unit), size, &found);
        hasChanged |= Keep(sps, found.sps, found.spsSize);
        hasChanged |= Keep(pps, found.pps, found.ppsSize);

        VideoInfo info;
        ParseVideoParams(parser, unit, size, &info);
        if (!info.accessUnitFound)
            return;
        if (info.keyFrame)
            std::printf("key frame, access unit %u: %u x %u\n", number, info.width, info.height);
        ++number;
        // Sets met since the last report belong to the access unit that has just begun: too late for the one
        // that was reported, and in time for those to come.
        if (hasChanged)
            SetParameterSetData(parser, sps.data(), SizeOf(sps), pps.data(), SizeOf(pps));
        hasChanged = false;
    };
    CNalFeeder feeder;
    for (int i = 1; i < argc; ++i) {
        std::FILE* const file = std::fopen(argv[i], "rb");
        if (file == nullptr)
            return 1;
        unsigned char piece[65536];
        while (const size_t size = std::fread(piece, 1, sizeof piece, file))
            feeder.Feed(piece, size, takeUnit);
        std::fclose(file);
    }
    feeder.Finish(takeUnit);
    takeUnit(nullptr, 0);  // flush: the last access unit
    return static_cast<int>(ParseRelease(parser));
}
