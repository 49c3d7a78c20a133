// The records as C11 and C++11 lay them out. The library checks every field; here it is enough that no type
// has another size or alignment.
#ifndef LAYOUT_H
#define LAYOUT_H

#include "VideoParams.h"

#ifndef __cplusplus
#define static_assert _Static_assert
#endif
#define POINTER sizeof(void*)
#define SIZE(record, bytes) static_assert(sizeof(record) == (bytes), #record)
#define OFFSET(record, field, offset) static_assert(offsetof(record, field) == (offset), #record "." #field)

OFFSET(VideoInfo, accessUnitData, 8 + POINTER);
OFFSET(VideoInfo, width, 12 + 2 * POINTER);
OFFSET(VideoInfo, reserved2, 1080 + 2 * POINTER);
SIZE(VideoInfo, 2168 + 2 * POINTER);
OFFSET(VideoInfoEx, isIntra, 8);
SIZE(VideoInfoEx, 12);
OFFSET(ParameterSetData, ppsSize, 5 * POINTER);
SIZE(ParameterSetData, 6 * POINTER);

// What C passes must be what the library, which is C++, takes.
SIZE(bool, 1);
SIZE(VideoCodecType, 4);
SIZE(VideoPicType, 4);

#endif
