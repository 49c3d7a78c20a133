// Describes every access unit of a file. Cuts the file into NAL units itself.
//
//     analyse h264|h265 FILE
//
// SPDX-License-Identifier: MIT

#include <VideoParams.h>

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned char* ReadFile(const char* name, size_t* size)
{
    FILE* file = fopen(name, "rb");
    if (file == NULL || fseek(file, 0, SEEK_END) != 0)
        return NULL;
    const long length = ftell(file);
    rewind(file);
    unsigned char* bytes = length > 0 && length <= INT_MAX ? malloc((size_t)length) : NULL;
    *size = bytes != NULL ? fread(bytes, 1, (size_t)length, file) : 0;
    fclose(file);
    return bytes;
}

// The bytes from `data` to the next start code that a call would see. No piece is shorter than 5 bytes: the
// library passes over such a buffer, so a tiny unit goes with the one behind it.
static size_t UnitSize(const unsigned char* data, size_t left)
{
    for (size_t i = 5; i + 5 <= left; ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && (data[i + 2] == 1 || (data[i + 2] == 0 && data[i + 3] == 1)))
            return i;
    }
    return left;
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
    if (argc != 3) {
        fprintf(stderr, "usage: analyse h264|h265 FILE\n");
        return 2;
    }
    const VideoCodecType codec = strcmp(argv[1], "h265") == 0 ? VideoCodecHEVC : VideoCodecAVC;
    size_t size;
    unsigned char* stream = ReadFile(argv[2], &size);
    void* parser;
    if (stream == NULL || ParseCreate(&parser, codec, 0, 0) != 0)
        return 1;

    unsigned int number = 0;
    VideoInfo info;
    for (size_t begin = 0, unitSize; begin < size; begin += unitSize) {
        unitSize = UnitSize(stream + begin, size - begin);
        if (ParseVideoParams(parser, stream + begin, (unsigned int)unitSize, &info) != 0)
            fprintf(stderr, "byte %u: damaged\n", (unsigned int)begin);
        Report(&number, &info);
    }
    ParseVideoParams(parser, NULL, 0, &info);  // flush: the last access unit
    Report(&number, &info);

    ParseRelease(parser);
    free(stream);
    return 0;
}
