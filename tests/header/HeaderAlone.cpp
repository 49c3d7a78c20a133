#include "Layout.h"

int64_t TypeOf(void* handle, const unsigned char* data, unsigned int size, VideoPicType& type);

int64_t TypeOf(void* handle, const unsigned char* data, unsigned int size, VideoPicType& type)
{
    return QueryType(handle, data, size, type);
}
