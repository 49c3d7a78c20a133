// Inserts a timestamp into every key frame of a file, as user data, and reads it from the copy. The copy has
// what the library reports: an H.264 key frame without parameter sets gets them inserted.
//
//     stamp h264|h265 FILE COPY
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"
#include "videoparams/timestamp.h"

#include <VideoParams.h>
#include <cstdio>
#include <cstring>

namespace {

int Fail(const char* message, const char* name)
{
    std::fprintf(stderr, "stamp: %s%s\n", message, name);
    return 1;
}

template <class Taker>
bool ForEachAccessUnit(const char* name, VideoCodecType codec, Taker take)
{
    std::FILE* const file = std::fopen(name, "rb");
    void* parser = nullptr;
    if (file == nullptr || ParseCreate(&parser, codec, 0, 0) != 0)
        return false;
    VideoInfo info;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        if (ParseVideoParams(parser, unit, size, &info) != 0)
            std::fputs("stamp: a damaged unit was skipped\n", stderr);
        if (info.accessUnitFound)
            take(info);
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
    if (argc != 4)
        return Fail("usage: stamp h264|h265 FILE COPY", "");
    const VideoCodecType codec = std::strcmp(argv[1], "h265") == 0 ? VideoCodecHEVC : VideoCodecAVC;
    std::FILE* const copy = std::fopen(argv[3], "wb");
    void* editor = nullptr;
    if (copy == nullptr || UserDataCreate(&editor, codec) != 0)
        return Fail("cannot write ", argv[3]);

    const unsigned char* bytes = nullptr;
    unsigned int size = 0;
    bool isComplete = true;
    int64_t time = 0;
    const bool isRead = ForEachAccessUnit(argv[2], codec, [&](const VideoInfo& unit) {
        bytes = unit.accessUnitData;
        size = unit.accessUnitSize;
        unsigned char stamp[VIDEOPARAMS_TIMESTAMP_SIZE];
        VideoParamsWriteTimestamp(stamp, VideoParamsClockPts, time);
        time += 40000000;  // 25 pictures per second here; a live program reads its clock
        if (unit.keyFrame)
            isComplete &= AddUserData(editor, unit.accessUnitData, unit.accessUnitSize, stamp, sizeof stamp,
                                      &bytes, &size) == 0;
        isComplete &= std::fwrite(bytes, 1, size, copy) == size;
    });
    if (!isRead)
        return Fail("cannot read ", argv[2]);
    if (std::fclose(copy) != 0 || !isComplete)
        return Fail("cannot write ", argv[3]);

    unsigned int number = 0;
    const bool isReadBack = ForEachAccessUnit(argv[3], codec, [&](const VideoInfo& unit) {
        unsigned int clock = 0;
        if (GetUserData(editor, unit.accessUnitData, unit.accessUnitSize, &bytes, &size) == 0 &&
            VideoParamsReadTimestamp(bytes, size, &clock, &time))
            std::printf("access unit %u: %.2f s\n", number, static_cast<double>(time) / 1e9);
        ++number;
    });
    UserDataRelease(editor);
    return isReadBack ? 0 : Fail("cannot read ", argv[3]);
}
