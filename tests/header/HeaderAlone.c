#include "VideoParams.h"

// What C passes must be what the library, which is C++, takes.
_Static_assert(sizeof(bool) == 1, "bool is one byte");
_Static_assert(sizeof(VideoCodecType) == 4, "enumerations are 32 bits");
_Static_assert(sizeof(VideoPicType) == 4, "enumerations are 32 bits");

int64_t TypeOf(void* handle, const unsigned char* data, unsigned int size, VideoPicType* type);

int64_t TypeOf(void* handle, const unsigned char* data, unsigned int size, VideoPicType* type)
{
    return QueryType(handle, data, size, type);
}
