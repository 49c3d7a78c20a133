// Where the fields of the records lie, for C11 and C++11. A host built with an older header goes on relying
// on it.
#ifndef LAYOUT_H
#define LAYOUT_H

#include "VideoParams.h"

#ifndef __cplusplus
#define static_assert _Static_assert
#endif
#define POINTER sizeof(void*)
#define SIZE(record, bytes) static_assert(sizeof(record) == (bytes), #record)
#define OFFSET(record, field, offset) static_assert(offsetof(record, field) == (offset), #record "." #field)

OFFSET(VideoInfo, accessUnitFound, 0);
OFFSET(VideoInfo, sequenceInfoValid, 4);
OFFSET(VideoInfo, keyFrame, 8);
OFFSET(VideoInfo, accessUnitData, 8 + POINTER);
OFFSET(VideoInfo, accessUnitSize, 8 + 2 * POINTER);
OFFSET(VideoInfo, width, 12 + 2 * POINTER);
OFFSET(VideoInfo, height, 16 + 2 * POINTER);
OFFSET(VideoInfo, frameRateNumerator, 20 + 2 * POINTER);
OFFSET(VideoInfo, frameRateDenominator, 24 + 2 * POINTER);
OFFSET(VideoInfo, video_signal_type_present_flag, 28 + 2 * POINTER);
OFFSET(VideoInfo, video_format, 32 + 2 * POINTER);
OFFSET(VideoInfo, video_full_range_flag, 36 + 2 * POINTER);
OFFSET(VideoInfo, colour_description_present_flag, 40 + 2 * POINTER);
OFFSET(VideoInfo, colour_primaries, 44 + 2 * POINTER);
OFFSET(VideoInfo, transfer_characteristics, 48 + 2 * POINTER);
OFFSET(VideoInfo, matrix_coefficients, 52 + 2 * POINTER);
OFFSET(VideoInfo, reserved1, 56 + 2 * POINTER);
OFFSET(VideoInfo, reserved2, 1080 + 2 * POINTER);
SIZE(VideoInfo, 2168 + 2 * POINTER);

OFFSET(VideoInfoEx, sampleError, 0);
OFFSET(VideoInfoEx, isFrame, 4);
OFFSET(VideoInfoEx, isIntra, 8);
SIZE(VideoInfoEx, 12);

OFFSET(ParameterSetData, vps, 0);
OFFSET(ParameterSetData, vpsSize, POINTER);
OFFSET(ParameterSetData, sps, 2 * POINTER);
OFFSET(ParameterSetData, spsSize, 3 * POINTER);
OFFSET(ParameterSetData, pps, 4 * POINTER);
OFFSET(ParameterSetData, ppsSize, 5 * POINTER);
SIZE(ParameterSetData, 6 * POINTER);

// What C passes must be what the library, which is C++, takes.
SIZE(bool, 1);
SIZE(VideoCodecType, 4);
SIZE(VideoPicType, 4);

#endif
