#include "VideoParams.h"

static_assert(sizeof(bool) == 1, "bool is one byte");
static_assert(sizeof(VideoCodecType) == 4, "enumerations are 32 bits");
static_assert(sizeof(VideoPicType) == 4, "enumerations are 32 bits");

int64_t TypeOf(void* handle, const unsigned char* data, unsigned int size, VideoPicType& type);

int64_t TypeOf(void* handle, const unsigned char* data, unsigned int size, VideoPicType& type)
{
    return QueryType(handle, data, size, type);
}
