/* A point in time as user data: 24 bytes that a host inserts with AddUserData and finds with GetUserData. C99
 * and C++.
 *
 *     bytes 0 to 7     mark: 56 50 53 54 41 4D 50 00 ("VPSTAMP" and a zero)
 *     byte 8           version: 1
 *     byte 9           clock: a value of VideoParamsClock
 *     bytes 10 to 15   zero; a reader ignores them
 *     bytes 16 to 23   nanoseconds of that clock, signed, two's complement, most significant byte first
 *
 * A reader accepts payloads that are longer than 24 bytes and ignores the rest.
 *
 * SPDX-License-Identifier: MIT
 */

#ifndef VIDEOPARAMS_TIMESTAMP_H
#define VIDEOPARAMS_TIMESTAMP_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#define VIDEOPARAMS_TIMESTAMP_SIZE 24

/* What the nanoseconds count. */
typedef enum VideoParamsClock
{
    VideoParamsClockUtc = 0, /* since 1970-01-01 00:00:00 UTC, without leap seconds */
    VideoParamsClockMonotonic =
        1, /* of the machine's monotonic clock: comparable on one machine until it restarts */
    VideoParamsClockPts = 2,         /* the presentation timestamp of the picture */
    VideoParamsClockRunningTime = 3, /* of a pipeline since it started to play */
    VideoParamsClockReference = 4    /* of a clock that sender and receiver agree on */
} VideoParamsClock;

/* Writes the 24 bytes. */
static inline void VideoParamsWriteTimestamp(unsigned char* payload, VideoParamsClock clock,
                                             int64_t nanoseconds)
{
    static const unsigned char head[9] = {0x56, 0x50, 0x53, 0x54, 0x41, 0x4D, 0x50, 0x00, 1};
    const uint64_t bits = (uint64_t)nanoseconds;
    int i;
    memset(payload, 0, VIDEOPARAMS_TIMESTAMP_SIZE);
    memcpy(payload, head, sizeof head);
    payload[9] = (unsigned char)clock;
    for (i = 0; i < 8; ++i)
        payload[16 + i] = (unsigned char)(bits >> (56 - 8 * i));
}

/* Reads a payload of `size` bytes. Returns 1 and sets both results if it is a timestamp of this version,
 * otherwise 0 and leaves them unchanged. `clock` receives the byte as it is: it may be none of
 * VideoParamsClock. */
static inline int VideoParamsReadTimestamp(const unsigned char* payload, size_t size, unsigned int* clock,
                                           int64_t* nanoseconds)
{
    static const unsigned char head[9] = {0x56, 0x50, 0x53, 0x54, 0x41, 0x4D, 0x50, 0x00, 1};
    uint64_t bits = 0;
    int i;
    if (payload == NULL || size < VIDEOPARAMS_TIMESTAMP_SIZE || memcmp(payload, head, sizeof head) != 0)
        return 0;
    for (i = 0; i < 8; ++i)
        bits = bits << 8 | payload[16 + i];
    *clock = payload[9];
    *nanoseconds = bits <= INT64_MAX ? (int64_t)bits : -(int64_t)(UINT64_MAX - bits) - 1;
    return 1;
}

#endif
