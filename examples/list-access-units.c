// Lists the access units of an H.264 file of up to 16 MB.
//
// SPDX-License-Identifier: MIT

#include <VideoParams.h>
#include <stdio.h>

static unsigned char stream[16 << 20];

int main(int argc, char** argv)
{
    FILE* file = argc > 1 ? fopen(argv[1], "rb") : NULL;
    unsigned int size = file != NULL ? (unsigned int)fread(stream, 1, sizeof stream, file) : 0;
    unsigned int count, *sizes;
    unsigned char** units;
    VideoInfo info;
    void* parser;
    if (size == 0 || ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0 ||
        GetNalFromFrame(parser, stream, size, &count, &units, &sizes) != 0)
        return 1;
    // Reports are one picture late: an empty call at the end asks for the last.
    for (unsigned int i = 0; i <= count; ++i) {
        ParseVideoParams(parser, i < count ? units[i] : NULL, i < count ? sizes[i] : 0, &info);
        if (info.accessUnitFound)
            printf("%u bytes%s\n", info.accessUnitSize, info.keyFrame ? ", key frame" : "");
    }
    return (int)ParseRelease(parser);
}
