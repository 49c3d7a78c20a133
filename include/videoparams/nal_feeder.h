/* Takes an H.264 or H.265 byte stream (Annex B) in pieces of any size and returns whole NAL units. C99 and
 * C++.
 *
 *     VideoParamsNalFeeder feeder;
 *     VideoParamsInitFeeder(&feeder);
 *     do {
 *         size = fread(piece, 1, sizeof piece, stdin);
 *         if (size == 0)
 *             VideoParamsEndStream(&feeder);
 *         else if (VideoParamsFeed(&feeder, piece, size) != 0)
 *             return OutOfMemory();
 *         while (VideoParamsNextUnit(&feeder, &unit, &unitSize)) {
 *             ParseVideoParams(parser, unit, unitSize, &info);
 *             if (info.accessUnitFound)
 *                 Use(&info);
 *         }
 *     } while (size > 0);
 *     VideoParamsFreeFeeder(&feeder);
 *
 * A unit runs from its start code (00 00 01 or 00 00 00 01) to the next one, or to the end of the stream. A
 * start code counts only if five bytes are left, its first zero included. Further zeros before it belong to
 * the previous unit. The library cuts streams in the same way.
 *
 * Every byte is searched once, and kept until its unit is complete and the next piece arrives.
 *
 * SPDX-License-Identifier: MIT
 */

#ifndef VIDEOPARAMS_NAL_FEEDER_H
#define VIDEOPARAMS_NAL_FEEDER_H

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

typedef struct VideoParamsNalFeeder
{
    /* Settings. Change them after VideoParamsInitFeeder and before the first byte. */

    uint32_t largestUnit; /* A longer unit is left out. Limits the memory that a stream can take. Default:
                             2^32 - 1 */
    int keepsShortUnits;  /* 0, the default: a unit of 3 or 4 bytes (such as an end of sequence, 00 00 01 0A)
                           * comes as the last bytes of the previous unit, if both together are not above
                           * `largestUnit`. The library ignores a call with a unit so short. 1: it comes
                           * alone.
                           */

    /* State. */

    unsigned char* bytes; /* what has not been returned yet, and the piece that was returned last */
    size_t length;
    size_t capacity;
    uint64_t offset; /* of bytes[0] in the stream */

    size_t begin;    /* in `bytes`: the current unit, or what is before the first start code */
    size_t searched; /* in `bytes`: every 01 before this one has been examined */
    size_t cut; /* in `bytes`: the start code that ends the current unit. It may still turn out to begin a
                 * short unit. 0: not known */
    int inUnit; /* there is a start code at `begin`, and its unit is not too long so far */
    int hasEnded;
} VideoParamsNalFeeder;

/* A part of the stream. All pieces together are the stream, in order. */
typedef struct VideoParamsPiece
{
    const unsigned char* data;
    size_t size;     /* of a unit: at most `largestUnit` */
    uint64_t offset; /* of data[0] in the stream */
    int isUnit;      /* 0: bytes before the first start code, or of a unit that is too long */
} VideoParamsPiece;

static inline void VideoParamsInitFeeder(VideoParamsNalFeeder* feeder)
{
    memset(feeder, 0, sizeof *feeder);
    feeder->largestUnit = UINT32_MAX;
}

/* Frees the feeder's memory. The feeder is then as VideoParamsInitFeeder leaves it. */
static inline void VideoParamsFreeFeeder(VideoParamsNalFeeder* feeder)
{
    free(feeder->bytes);
    VideoParamsInitFeeder(feeder);
}

/* Takes the next bytes of the stream and copies them. Call VideoParamsNextUnit until it returns 0 before the
 * next bytes. Returns 0, or -1 if out of memory: then nothing was taken, and the call may be repeated. */
static inline int VideoParamsFeed(VideoParamsNalFeeder* feeder, const unsigned char* data, size_t size)
{
    if (feeder->begin > 0) { /* drop what has been returned */
        feeder->length -= feeder->begin;
        memmove(feeder->bytes, feeder->bytes + feeder->begin, feeder->length);
        feeder->offset += feeder->begin;
        feeder->searched -= feeder->begin;
        feeder->cut -= feeder->cut > 0 ? feeder->begin : 0;
        feeder->begin = 0;
    }
    if (size > feeder->capacity - feeder->length) {
        const size_t needed = feeder->length + size;
        const size_t grown = feeder->capacity + feeder->capacity / 2;
        const size_t capacity = grown > needed ? grown : needed;
        unsigned char* bytes = needed < size ? NULL : (unsigned char*)realloc(feeder->bytes, capacity);
        if (bytes == NULL)
            return -1;
        feeder->bytes = bytes;
        feeder->capacity = capacity;
    }
    if (size > 0)
        memcpy(feeder->bytes + feeder->length, data, size);
    feeder->length += size;
    return 0;
}

/* Ends the stream. VideoParamsNextUnit returns what is left, and then 0. After that the feeder takes a new
 * stream. */
static inline void VideoParamsEndStream(VideoParamsNalFeeder* feeder)
{
    feeder->hasEnded = 1;
}

/* Finds the next start code. Returns 1 with the place of its first zero, and `searched` at its 01. */
static inline int VideoParamsFindStartCode(VideoParamsNalFeeder* feeder, size_t* start)
{
    while (feeder->searched < feeder->length) {
        const unsigned char* from = feeder->bytes + feeder->searched;
        const void* found = memchr(from, 1, feeder->length - feeder->searched);
        size_t one, zeros = 0;
        if (found == NULL) {
            feeder->searched = feeder->length;
            return 0;
        }
        one = (size_t)((const unsigned char*)found - feeder->bytes);
        while (zeros < 3 && zeros < one - feeder->begin && feeder->bytes[one - zeros - 1] == 0)
            ++zeros;
        feeder->searched = one;
        *start = one - zeros;
        if (zeros >= 2)
            return feeder->length - *start >= 5; /* otherwise the next bytes decide */
        ++feeder->searched;
    }
    return 0;
}

/* Returns the bytes up to `end`. The next piece begins there. */
static inline int VideoParamsTakePiece(VideoParamsNalFeeder* feeder, size_t end, int isUnit,
                                       VideoParamsPiece* piece)
{
    piece->data = feeder->bytes + feeder->begin;
    piece->size = end - feeder->begin;
    piece->offset = feeder->offset + feeder->begin;
    piece->isUnit = isUnit;
    feeder->begin = end;
    feeder->cut = 0;
    feeder->inUnit = isUnit;
    return 1;
}

/* Returns 1 and the next piece, or 0 if more bytes are needed first or the stream is at its end. The piece's
 * bytes stay valid until the next VideoParamsFeed or VideoParamsFreeFeeder. */
static inline int VideoParamsNextPiece(VideoParamsNalFeeder* feeder, VideoParamsPiece* piece)
{
    const size_t shortest = feeder->keepsShortUnits ? 0 : 5;
    size_t start, certain;
    while (VideoParamsFindStartCode(feeder, &start)) {
        const int isFitting = start - feeder->begin <= feeder->largestUnit;
        if (feeder->cut > 0 && !(isFitting && start - feeder->cut < shortest))
            return VideoParamsTakePiece(feeder, feeder->cut, 1, piece);
        if (feeder->inUnit && isFitting) {
            feeder->cut = start;
        } else if (start > feeder->begin) {
            return VideoParamsTakePiece(feeder, start, 0, piece);
        } else {
            feeder->inUnit = 1;
        }
        /* The next 01 after two zeros is at least three bytes away. */
        feeder->searched += feeder->length - feeder->searched < 3 ? feeder->length - feeder->searched : 3;
    }

    /* If no start code follows the cut soon, the unit there is long enough. */
    if (feeder->cut > 0 && (feeder->hasEnded || feeder->searched >= feeder->cut + shortest + 3))
        return VideoParamsTakePiece(feeder, feeder->cut, 1, piece);
    if (feeder->cut > 0)
        return 0;

    /* Before the end, the last three bytes may belong to a start code. */
    if (feeder->hasEnded)
        feeder->searched = certain = feeder->length;
    else
        certain = feeder->searched - (feeder->searched < 3 ? feeder->searched : 3);
    if (certain > feeder->begin) {
        const int isFitting = certain - feeder->begin <= feeder->largestUnit;
        if (!feeder->inUnit || !isFitting || feeder->hasEnded)
            return VideoParamsTakePiece(feeder, certain, feeder->inUnit && isFitting, piece);
    }
    if (feeder->hasEnded) { /* all is returned: make ready for a new stream */
        feeder->length = feeder->begin = feeder->searched = 0;
        feeder->offset = 0;
        feeder->inUnit = feeder->hasEnded = 0;
    }
    return 0;
}

/* Returns 1 and the next unit, or 0 as VideoParamsNextPiece does. Passes over what belongs to no unit. */
static inline int VideoParamsNextUnit(VideoParamsNalFeeder* feeder, const unsigned char** unit,
                                      unsigned int* unitSize)
{
    VideoParamsPiece piece;
    do {
        if (!VideoParamsNextPiece(feeder, &piece))
            return 0;
    } while (!piece.isUnit);
    *unit = piece.data;
    *unitSize = (unsigned int)piece.size;
    return 1;
}

#endif
