// Describes every access unit of a file.
//
//     analyse h264|h265 FILE
//
// SPDX-License-Identifier: MIT

#include <VideoParams.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <videoparams/nal_feeder.h>

static int Fail(const char* message)
{
    perror(message);
    return 1;
}

static void Report(unsigned int* number, const VideoInfo* info)
{
    if (!info->accessUnitFound)
        return;
    printf("%u: %u bytes", (*number)++, info->accessUnitSize);
    if (info->keyFrame)
        printf(", key frame");
    if (info->sequenceInfoValid)
        printf(", %u x %u", info->width, info->height);
    if (info->frameRateDenominator != 0)
        printf(", %.3f frames/s", (double)info->frameRateNumerator / info->frameRateDenominator);
    printf("\n");
}

int main(int argc, char** argv)
{
    static unsigned char bytes[65536];
    VideoParamsNalFeeder feeder;
    VideoParamsPiece piece = {0};
    VideoInfo info;
    unsigned int number = 0;
    size_t size = 0;
    void* parser = NULL;

    const int isHevc = argc == 3 && strcmp(argv[1], "h265") == 0;
    if (argc != 3 || (!isHevc && strcmp(argv[1], "h264") != 0)) {
        fprintf(stderr, "usage: analyse h264|h265 FILE\n");
        return 2;
    }
    FILE* file = fopen(argv[2], "rb");
    if (file == NULL)
        return Fail(argv[2]);
    if (ParseCreate(&parser, isHevc ? VideoCodecHEVC : VideoCodecAVC, 0, 0) != 0)
        return Fail("ParseCreate");

    VideoParamsInitFeeder(&feeder);
    do {
        size = fread(bytes, 1, sizeof bytes, file);
        if (size == 0)
            VideoParamsEndStream(&feeder);
        else if (VideoParamsFeed(&feeder, bytes, size) != 0)
            return Fail("VideoParamsFeed");
        while (VideoParamsNextPiece(&feeder, &piece)) {
            if (!piece.isUnit || ParseVideoParams(parser, piece.data, (unsigned int)piece.size, &info) != 0)
                fprintf(stderr, "%u bytes from byte %" PRIu64 " on were skipped\n", (unsigned int)piece.size,
                        piece.offset);
            if (piece.isUnit)
                Report(&number, &info);
        }
    } while (size > 0);
    ParseVideoParams(parser, NULL, 0, &info);  // flush: reports the last access unit
    Report(&number, &info);

    VideoParamsFreeFeeder(&feeder);
    ParseRelease(parser);
    if (ferror(file) || fclose(file) != 0)
        return Fail(argv[2]);
    if (number == 0)
        fprintf(stderr, "%s: no picture found\n", argv[2]);
    return number == 0 ? 1 : 0;
}
