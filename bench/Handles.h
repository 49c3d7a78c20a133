#pragma once

#include "stream/Handle.h"

namespace bench {

using tool::CUserDataHandle;

// With the queue of a host that chooses none.
class CParseHandle : public tool::CParseHandle
{
public:
    explicit CParseHandle(VideoCodecType codec) : tool::CParseHandle(codec, 0) {}
};

}  // namespace bench
