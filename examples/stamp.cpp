// Puts a timestamp into every key frame of a file, as user data, and reads it back from the copy.
//
//     stamp h264|h265 FILE COPY
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"

#include <VideoParams.h>
#include <cstdio>
#include <cstring>

namespace {

// Tells the messages of this program from those of others.
constexpr char Mark[] = "TIME ";
constexpr size_t MarkLength = sizeof Mark - 1;

template <class Taker>
void ForEachAccessUnit(const char* name, VideoCodecType codec, Taker take)
{
    std::FILE* const file = std::fopen(name, "rb");
    void* parser = nullptr;
    if (file == nullptr || ParseCreate(&parser, codec, 0, 0) != 0)
        return;
    VideoInfo info;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        ParseVideoParams(parser, unit, size, &info);
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
    std::fclose(file);
}

}  // namespace

int main(int argc, char** argv)
{
    const bool isHevc = argc == 4 && std::strcmp(argv[1], "h265") == 0;
    const VideoCodecType codec = isHevc ? VideoCodecHEVC : VideoCodecAVC;
    std::FILE* const copy = argc == 4 ? std::fopen(argv[3], "wb") : nullptr;
    void* editor = nullptr;
    if (copy == nullptr || UserDataCreate(&editor, codec) != 0)
        return 1;

    const unsigned char* bytes;
    unsigned int size, number = 0;
    ForEachAccessUnit(argv[2], codec, [&](const VideoInfo& unit) {
        unsigned char stamp[32];  // 25 pictures a second here; a live host asks its clock
        const int length = std::snprintf(reinterpret_cast<char*>(stamp), sizeof stamp, "%s%.2f s", Mark,
                                         0.04 * static_cast<double>(number++));
        if (!unit.keyFrame || AddUserData(editor, unit.accessUnitData, unit.accessUnitSize, stamp,
                                          static_cast<unsigned int>(length), &bytes, &size) != 0) {
            bytes = unit.accessUnitData;
            size = unit.accessUnitSize;
        }
        std::fwrite(bytes, 1, size, copy);
    });
    std::fclose(copy);

    number = 0;
    ForEachAccessUnit(argv[3], codec, [&](const VideoInfo& unit) {
        GetUserData(editor, unit.accessUnitData, unit.accessUnitSize, &bytes, &size);
        if (size > MarkLength && std::memcmp(bytes, Mark, MarkLength) == 0)
            std::printf("access unit %u: %.*s\n", number, static_cast<int>(size - MarkLength),
                        bytes + MarkLength);
        ++number;
    });
    return static_cast<int>(UserDataRelease(editor));
}
