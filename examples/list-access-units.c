// Lists the access units of an H.264 file of up to 16 MB.
//
// SPDX-License-Identifier: MIT

#include <VideoParams.h>
#include <stdio.h>

static unsigned char stream[16 << 20];

static void Report(const VideoInfo* info)
{
    if (info->accessUnitFound)
        printf("%u bytes%s\n", info->accessUnitSize, info->keyFrame ? ", key frame" : "");
}

int main(int argc, char** argv)
{
    FILE* file = argc > 1 ? fopen(argv[1], "rb") : NULL;
    unsigned int size = file != NULL ? (unsigned int)fread(stream, 1, sizeof stream, file) : 0;
    unsigned int count, *sizes;
    unsigned char** units;
    VideoInfo info;
    void* parser;
    if (size == 0 || ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
        return 1;
    if (GetNalFromFrame(parser, stream, size, &count, &units, &sizes) == 0)
        for (unsigned int i = 0; i < count; ++i) {
            ParseVideoParams(parser, units[i], sizes[i], &info);
            Report(&info);  // the picture before: reports are one picture late
        }
    ParseVideoParams(parser, NULL, 0, &info);  // flush: the last one
    Report(&info);
    return (int)ParseRelease(parser);
}
