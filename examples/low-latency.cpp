// Reports every access unit at once instead of one picture late: it is handed over whole and followed by a
// flush.
//
//     low-latency h264|h265 FILE
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"

#include <VideoParams.h>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using AccessUnit = std::vector<unsigned char>;

// In the place of an encoder, or of a transport that marks where an access unit ends (such as RTP): the
// access units of a file, cut by a handle of their own.
std::vector<AccessUnit> ReadAccessUnits(const char* name, VideoCodecType codec)
{
    std::vector<AccessUnit> accessUnits;
    std::FILE* const file = std::fopen(name, "rb");
    void* parser = nullptr;
    if (file == nullptr || ParseCreate(&parser, codec, 0, 0) != 0)
        return accessUnits;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        VideoInfo info;
        ParseVideoParams(parser, unit, size, &info);
        if (info.accessUnitFound)
            accessUnits.emplace_back(info.accessUnitData, info.accessUnitData + info.accessUnitSize);
    };
    CNalFeeder feeder;
    unsigned char piece[65536];
    while (const size_t size = std::fread(piece, 1, sizeof piece, file))
        feeder.Feed(piece, size, takeUnit);
    feeder.Finish(takeUnit);
    takeUnit(nullptr, 0);
    ParseRelease(parser);
    std::fclose(file);
    return accessUnits;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: low-latency h264|h265 FILE\n", stderr);
        return 2;
    }
    const VideoCodecType codec = std::strcmp(argv[1], "h265") == 0 ? VideoCodecHEVC : VideoCodecAVC;
    void* parser = nullptr;
    if (ParseCreate(&parser, codec, 0, 0) != 0)
        return 1;

    unsigned int number = 0;
    for (const AccessUnit& accessUnit : ReadAccessUnits(argv[2], codec)) {
        VideoInfo info;
        // The next picture has not begun, so this completes nothing; the flush says that there is no more to
        // come.
        ParseVideoParams(parser, accessUnit.data(), static_cast<unsigned int>(accessUnit.size()), &info);
        const bool isEarly = info.accessUnitFound;
        ParseVideoParams(parser, nullptr, 0, &info);
        if (!isEarly && info.accessUnitFound)
            std::printf("access unit %u: %u of %u bytes%s\n", number, info.accessUnitSize,
                        static_cast<unsigned int>(accessUnit.size()), info.keyFrame ? ", key frame" : "");
        ++number;
    }
    return static_cast<int>(ParseRelease(parser));
}
