// Reports every access unit at once instead of one picture late: passes each access unit whole, and then
// flushes.
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

int Fail(const char* message, const char* name)
{
    std::fprintf(stderr, "low-latency: %s%s\n", message, name);
    return 1;
}

// Stands for an encoder, or for a transport that marks where an access unit ends (such as RTP): cuts the file
// into access units with a handle of its own.
bool ReadAccessUnits(const char* name, VideoCodecType codec, std::vector<AccessUnit>& accessUnits)
{
    std::FILE* const file = std::fopen(name, "rb");
    void* parser = nullptr;
    if (file == nullptr || ParseCreate(&parser, codec, 0, 0) != 0)
        return false;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        VideoInfo info;
        if (ParseVideoParams(parser, unit, size, &info) != 0)
            std::fputs("low-latency: a damaged unit was skipped\n", stderr);
        if (info.accessUnitFound)
            accessUnits.emplace_back(info.accessUnitData, info.accessUnitData + info.accessUnitSize);
    };
    CNalFeeder feeder;
    unsigned char piece[65536];
    while (const size_t size = std::fread(piece, 1, sizeof piece, file))
        feeder.Feed(piece, size, takeUnit);
    feeder.Finish(takeUnit);
    takeUnit(nullptr, 0);  // flush: the last access unit
    ParseRelease(parser);
    const bool isRead = std::ferror(file) == 0;
    std::fclose(file);
    return isRead;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return Fail("usage: low-latency h264|h265 FILE", "");
    const VideoCodecType codec = std::strcmp(argv[1], "h265") == 0 ? VideoCodecHEVC : VideoCodecAVC;
    std::vector<AccessUnit> accessUnits;
    if (!ReadAccessUnits(argv[2], codec, accessUnits))
        return Fail("cannot read ", argv[2]);
    if (accessUnits.empty())
        return Fail("no picture found in ", argv[2]);
    void* parser = nullptr;
    if (ParseCreate(&parser, codec, 0, 0) != 0)
        return Fail("out of memory", "");

    unsigned int number = 0;
    for (const AccessUnit& accessUnit : accessUnits) {
        VideoInfo info;
        // This call completes nothing, because the next picture has not begun. The flush then reports the
        // access unit.
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
