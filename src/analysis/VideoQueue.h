#pragma once

#include "memory/HeapBuffer.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

// One access unit under assembly.
struct VideoQueueInfo
{
    unsigned char* data = nullptr;  // NAL units with their start codes, in order of arrival
    uint32_t length = 0;
    uint32_t capacity = 0;
    uint32_t delimiterOffset = 0;  // where the access unit delimiter begins in `data`
    uint32_t delimiterSize = 0;    // its bytes, start code included; 0: no delimiter
    uint32_t keyFrame = 0;         // 1: holds an IDR slice (H.264) or an IRAP slice (H.265)
};

// A ring of reusable entries, handed out in turn, and a spare one for the units that already belong to the
// next access unit. An entry's bytes stay until the ring comes round to it: no entry is ever marked as in
// use.
class CVideoQueue : public HeapObject
{
public:
    [[nodiscard]] Result Create(uint32_t count, uint32_t size);
    void Close();

    Result GetVideoInfo(VideoQueueInfo** entry);  // the next of the ring, emptied
    void GetNextInfo(VideoQueueInfo** entry);     // the spare one, emptied

    // Both leave the entry as it was when they fail.
    [[nodiscard]] Result StoreVideoData(VideoQueueInfo* entry, const unsigned char* bytes, uint32_t count);
    [[nodiscard]] Result InsertParameterData(VideoQueueInfo* entry, const unsigned char* sps,
                                             uint32_t spsLength, const unsigned char* pps,
                                             uint32_t ppsLength);

protected:
    [[nodiscard]] Result ResizeBuffer(VideoQueueInfo* entry, uint64_t newCapacity);

    VideoQueueInfo* entries = nullptr;
    uint32_t entryCount = 0;
    VideoQueueInfo spareEntry;
    uint32_t nextIndex = 0;

    // What stands behind the insertion point while parameter sets are put in.
    unsigned char* scratchBuffer = nullptr;
    uint32_t scratchCapacity = 0;
};

}  // namespace videoparams
