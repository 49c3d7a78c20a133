#include "memory/HeapBuffer.h"
#include "support/Bytes.h"
#include "support/FailingHeap.h"
#include "support/Probes.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

const Bytes delimiter = {0, 0, 0, 1, 9, 0xF0};
const Bytes sps = {0, 0, 1, 7, 1, 2, 3};
const Bytes pps = {0, 0, 1, 8, 4};
const Bytes slice = {0, 0, 1, 5, 6, 7, 8, 9, 10};

class VideoQueue : public testing::Test
{
protected:
    VideoQueue() { EXPECT_EQ(queue.Create(3, 8), ResultOk); }
    ~VideoQueue() override { queue.Close(); }

    VideoQueueInfo* NextEntry()
    {
        VideoQueueInfo* entry = nullptr;
        EXPECT_EQ(queue.GetVideoInfo(&entry), ResultOk);
        return entry;
    }

    Result Store(VideoQueueInfo* entry, const Bytes& bytes)
    {
        return queue.StoreVideoData(entry, bytes.data(), Size(bytes));
    }

    Result Insert(VideoQueueInfo* entry)
    {
        return queue.InsertParameterData(entry, sps.data(), Size(sps), pps.data(), Size(pps));
    }

    static Bytes Contents(const VideoQueueInfo* entry) { return CopyOf(entry->data, entry->length); }

    QueueProbe queue;
};

}  // namespace

TEST_F(VideoQueue, HandsOutItsEntriesInTurnAndTheSpareOneAlwaysEmptied)
{
    std::vector<VideoQueueInfo*> entries = {NextEntry(), NextEntry(), NextEntry(), nullptr};
    queue.GetNextInfo(&entries[3]);
    for (VideoQueueInfo* const entry : entries) {
        ASSERT_EQ(Store(entry, slice), ResultOk);
        *entry = {entry->data, entry->length, entry->capacity, 1, 2, 1};
    }
    for (VideoQueueInfo* const entry : entries) {
        const VideoQueueInfo before = *entry;
        ASSERT_EQ(Contents(entry), slice) << "the entries have blocks of their own";
        VideoQueueInfo* again = nullptr;
        if (entry == entries[3])
            queue.GetNextInfo(&again);
        else
            again = NextEntry();
        ASSERT_EQ(again, entry);
        EXPECT_TRUE(entry->data == before.data && entry->capacity == before.capacity);
        EXPECT_EQ(entry->length + entry->delimiterOffset + entry->delimiterSize + entry->keyFrame, 0u);
    }
}

// Blocks are made larger than their capacity says; where the heap has no more, the need will do.
TEST_F(VideoQueue, GrowsToTheNeedWhereTheHeapCannotGiveMore)
{
    VideoQueueInfo* const entry = NextEntry();
    FailingHeap heap(1, FailingHeap::Failure::Once);
    EXPECT_EQ(heap.During([&] { return Store(entry, slice); }), ResultOk);
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_EQ(Contents(entry), slice);
}

TEST_F(VideoQueue, FailingGrowthLeavesTheEntryAsItWas)
{
    VideoQueueInfo* const entry = NextEntry();
    ASSERT_EQ(Store(entry, delimiter), ResultOk);
    FailingHeap storing(1, FailingHeap::Failure::Once);
    EXPECT_EQ(storing.During([&] { return Store(entry, slice); }), ResultFailed);
    for (const uint64_t failAt : {1u, 2u}) {  // the scratch block, the entry's block
        FreeBuffer(queue.scratchBuffer);
        queue.scratchCapacity = 0;
        FailingHeap inserting(failAt, FailingHeap::Failure::Once);
        EXPECT_EQ(inserting.During([&] { return Insert(entry); }), ResultFailed);
    }
    // Sizes beyond 32 bits: 6 + 2^32 - 6.
    EXPECT_EQ(queue.StoreVideoData(entry, nullptr, UINT32_MAX - 5), ResultFailed);
    EXPECT_EQ(queue.InsertParameterData(entry, nullptr, UINT32_MAX - 5, nullptr, 0), ResultFailed);
    EXPECT_EQ(queue.ResizeBuffer(entry, uint64_t{1} << 32), ResultFailed);

    EXPECT_EQ(Contents(entry), delimiter);
    EXPECT_EQ(entry->capacity, 8u);
    ASSERT_EQ(Store(entry, slice), ResultOk);
    ASSERT_EQ(Insert(entry), ResultOk);
    EXPECT_EQ(Contents(entry), sps + pps + delimiter + slice);
    EXPECT_EQ(entry->capacity, entry->length) << "no more than was needed";
    VideoQueueInfo* const empty = NextEntry();
    ASSERT_EQ(Insert(empty), ResultOk);
    EXPECT_EQ(Contents(empty), sps + pps);
}

}  // namespace videoparams::test
