#include "analysis/VideoQueue.h"

#include <cstring>

namespace videoparams {

namespace {

void EmptyEntry(VideoQueueInfo& entry)
{
    entry.length = 0;
    entry.delimiterOffset = 0;
    entry.delimiterSize = 0;
    entry.keyFrame = 0;
}

bool AllocateEntry(VideoQueueInfo& entry, uint32_t size)
{
    entry = VideoQueueInfo{};
    if (!AllocateBuffer(entry.data, size))
        return false;
    entry.capacity = size;
    return true;
}

}  // namespace

Result CVideoQueue::Create(uint32_t count, uint32_t size)
{
    if (!AllocateBuffer(entries, count))
        return ResultFailed;
    for (; entryCount < count; ++entryCount) {
        if (!AllocateEntry(entries[entryCount], size))
            return ResultFailed;  // Close frees what stands already
    }
    return AllocateEntry(spareEntry, size) ? ResultOk : ResultFailed;
}

void CVideoQueue::Close()
{
    for (; entryCount != 0; --entryCount)
        FreeBuffer(entries[entryCount - 1].data);
    FreeBuffer(entries);
    FreeBuffer(spareEntry.data);
    FreeBuffer(scratchBuffer);
}

Result CVideoQueue::GetVideoInfo(VideoQueueInfo** entry)
{
    VideoQueueInfo& next = entries[nextIndex];
    EmptyEntry(next);
    *entry = &next;
    nextIndex = (nextIndex + 1) % entryCount;
    return ResultOk;
}

void CVideoQueue::GetNextInfo(VideoQueueInfo** entry)
{
    EmptyEntry(spareEntry);
    *entry = &spareEntry;
}

Result CVideoQueue::StoreVideoData(VideoQueueInfo* entry, const unsigned char* bytes, uint32_t count)
{
    if (count > entry->capacity - entry->length &&
        ResizeBuffer(entry, uint64_t{entry->length} + count) != ResultOk)
        return ResultFailed;
    ByteSink{entry->data, entry->capacity, entry->length}.Append(bytes, count);
    return ResultOk;
}

Result CVideoQueue::InsertParameterData(VideoQueueInfo* entry, const unsigned char* sps, uint32_t spsLength,
                                        const unsigned char* pps, uint32_t ppsLength)
{
    const uint32_t insertionPoint = entry->delimiterOffset + entry->delimiterSize;
    const uint32_t tailLength = entry->length - insertionPoint;
    if (!MakeRoom(scratchBuffer, scratchCapacity, tailLength, tailLength))
        return ResultFailed;
    const uint64_t needed = uint64_t{entry->length} + spsLength + ppsLength;
    if (needed > entry->capacity && ResizeBuffer(entry, needed) != ResultOk)
        return ResultFailed;

    if (tailLength != 0)
        std::memcpy(scratchBuffer, entry->data + insertionPoint, tailLength);
    entry->length = insertionPoint;
    ByteSink unit{entry->data, entry->capacity, entry->length};
    unit.Append(sps, spsLength);
    unit.Append(pps, ppsLength);
    unit.Append(scratchBuffer, tailLength);
    return ResultOk;
}

Result CVideoQueue::ResizeBuffer(VideoQueueInfo* entry, uint64_t newCapacity)
{
    return MakeRoom(entry->data, entry->capacity, newCapacity, newCapacity) ? ResultOk : ResultFailed;
}

}  // namespace videoparams
