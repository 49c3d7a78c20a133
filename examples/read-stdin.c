// Lists the access units of a stream of any length that arrives on standard input.
//
//     ffmpeg -i FILM -c copy -f h264 - | read-stdin h264
//
// SPDX-License-Identifier: MIT

#include <VideoParams.h>
#include <videoparams/nal_feeder.h>

#include <stdio.h>
#include <string.h>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

static unsigned char piece[65536];

// Passes a unit to the parser. No unit, to flush: NULL and 0.
static void Parse(void* parser, const unsigned char* unit, unsigned int unitSize)
{
    VideoInfo info;
    if (ParseVideoParams(parser, unit, unitSize, &info) != 0)
        fprintf(stderr, "A unit of %u bytes is damaged, or out of memory.\n", unitSize);
    if (info.accessUnitFound)
        printf("%u bytes%s\n", info.accessUnitSize, info.keyFrame ? ", key frame" : "");
}

int main(int argc, char** argv)
{
    void* parser = NULL;
    const int isHevc = argc == 2 && strcmp(argv[1], "h265") == 0;
    if (!isHevc && (argc != 2 || strcmp(argv[1], "h264") != 0)) {
        fprintf(stderr, "usage: read-stdin h264|h265 < STREAM\n");
        return 2;
    }
    if (ParseCreate(&parser, isHevc ? VideoCodecHEVC : VideoCodecAVC, 0, 0) != 0) {
        fprintf(stderr, "Out of memory.\n");
        return 1;
    }
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif

    VideoParamsNalFeeder feeder;
    VideoParamsInitFeeder(&feeder);
    feeder.largestUnit = 64 << 20;  // a stream without start codes must not take all memory
    int status = 0;
    size_t size = 0;
    do {
        const unsigned char* unit = NULL;
        unsigned int unitSize = 0;
        size = fread(piece, 1, sizeof piece, stdin);
        if (size == 0)
            VideoParamsEndStream(&feeder);
        else if (VideoParamsFeed(&feeder, piece, size) != 0) {
            fprintf(stderr, "Out of memory.\n");
            status = 1;
            break;
        }
        while (VideoParamsNextUnit(&feeder, &unit, &unitSize))
            Parse(parser, unit, unitSize);
    } while (size > 0);
    Parse(parser, NULL, 0);

    if (ferror(stdin)) {
        perror("standard input");
        status = 1;
    }
    VideoParamsFreeFeeder(&feeder);
    ParseRelease(parser);
    return status;
}
