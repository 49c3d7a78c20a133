#include "stream/Handle.h"

#include <new>

namespace tool {

CParseHandle::CParseHandle(VideoCodecType codec, unsigned int queueCount)
{
    if (ParseCreate(&handle, codec, queueCount, 0) != 0)
        throw std::bad_alloc();
}

CUserDataHandle::CUserDataHandle(VideoCodecType codec)
{
    if (UserDataCreate(&handle, codec) != 0)
        throw std::bad_alloc();
}

}  // namespace tool
