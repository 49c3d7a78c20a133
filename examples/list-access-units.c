// Lists the access units of an H.264 file of any size.
//
// SPDX-License-Identifier: MIT

#include <VideoParams.h>
#include <stdio.h>
#include <videoparams/nal_feeder.h>

static int Fail(const char* message)
{
    perror(message);
    return 1;
}

static unsigned int accessUnitCount = 0;

static void Take(void* parser, const unsigned char* unit, unsigned int unitSize)
{
    VideoInfo info;
    if (ParseVideoParams(parser, unit, unitSize, &info) != 0)
        fprintf(stderr, "a damaged unit was skipped\n");
    if (info.accessUnitFound) {  // one picture late
        printf("%u bytes%s\n", info.accessUnitSize, info.keyFrame ? ", key frame" : "");
        ++accessUnitCount;
    }
}

int main(int argc, char** argv)
{
    static unsigned char piece[65536];
    VideoParamsNalFeeder feeder;  // returns whole units; joins units that are too short for a call
    const unsigned char* unit = NULL;
    unsigned int unitSize = 0;
    size_t size = 0;
    void* parser = NULL;

    if (argc != 2) {
        fprintf(stderr, "usage: list-access-units FILE\n");
        return 2;
    }
    FILE* file = fopen(argv[1], "rb");
    if (file == NULL)
        return Fail(argv[1]);
    if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
        return Fail("ParseCreate");

    VideoParamsInitFeeder(&feeder);
    do {
        size = fread(piece, 1, sizeof piece, file);
        if (size == 0)
            VideoParamsEndStream(&feeder);
        else if (VideoParamsFeed(&feeder, piece, size) != 0)
            return Fail("VideoParamsFeed");
        while (VideoParamsNextUnit(&feeder, &unit, &unitSize))
            Take(parser, unit, unitSize);
    } while (size > 0);
    Take(parser, NULL, 0);  // flush: reports the last access unit

    VideoParamsFreeFeeder(&feeder);
    ParseRelease(parser);
    if (ferror(file) || fclose(file) != 0)
        return Fail(argv[1]);
    if (accessUnitCount == 0)
        fprintf(stderr, "%s: no picture found. Is it an H.264 byte stream with parameter sets?\n", argv[1]);
    return accessUnitCount == 0 ? 1 : 0;
}
