#include "stream/Handle.h"

#include <new>

namespace tool {

namespace {

// The tool takes nothing from the blocks of a report, so it needs no ring of them.
constexpr unsigned int BlockCount = 2;

}  // namespace

CParseHandle::CParseHandle(VideoCodecType codec)
{
    if (ParseCreate(&handle, codec, BlockCount, 0) != 0)
        throw std::bad_alloc();
}

CUserDataHandle::CUserDataHandle(VideoCodecType codec)
{
    if (UserDataCreate(&handle, codec) != 0)
        throw std::bad_alloc();
}

}  // namespace tool
