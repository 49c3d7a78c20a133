#pragma once

#include "memory/Buffer.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

// One access unit under assembly.
struct AccessUnit
{
    Buffer bytes;                     // NAL units with their start codes, in the order of arrival
    uint32_t parameterSetOffset = 0;  // where inserted parameter sets go: the end of the delimiter, or 0
    bool isKeyFrame = false;          // has an IDR slice (H.264) or an IRAP slice (H.265)

    void Clear();
    [[nodiscard]] Result Store(const unsigned char* data, uint32_t count);
    [[nodiscard]] Result Take(AccessUnit& other);  // its bytes, after those that are here
    [[nodiscard]] Result Insert(uint32_t offset, const Buffer& first, const Buffer& second);
};

// A ring of reusable access units, handed out in turn, and a spare one for the units that already belong to
// the next access unit. The bytes of an access unit stay until the ring comes round to it: none is ever
// marked as in use.
class CVideoQueue
{
public:
    CVideoQueue() = default;
    CVideoQueue(const CVideoQueue&) = delete;
    CVideoQueue& operator=(const CVideoQueue&) = delete;
    ~CVideoQueue();

    [[nodiscard]] Result Create(uint32_t count, uint32_t size);

    AccessUnit& TakeNext();   // the next one of the ring, emptied
    AccessUnit& TakeSpare();  // the spare one, emptied

private:
    AccessUnit* ring = nullptr;  // one heap block
    uint32_t ringCount = 0;      // made so far, until Create has made all
    uint32_t nextIndex = 0;
    AccessUnit spare;
};

}  // namespace videoparams
