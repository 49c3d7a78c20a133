#include "VideoQueue/HeapBuffer.h"
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

TEST_F(VideoQueue, HandsOutItsEntriesInTurnEmptiedWithTheirBlocks)
{
    ASSERT_EQ(queue.Create(3, 10), ResultOk);
    VideoQueueInfo* const first = NextEntry();
    ASSERT_EQ(Store(first, slice), ResultOk);
    *first = {first->data, first->length, first->capacity, 1, 2, 1};
    unsigned char* const block = first->data;

    VideoQueueInfo* const second = NextEntry();
    VideoQueueInfo* const third = NextEntry();
    EXPECT_NE(second, first);
    EXPECT_NE(third, second);
    EXPECT_EQ(Contents(first), slice);
    ASSERT_EQ(NextEntry(), first);
    EXPECT_EQ(first->data, block);
    EXPECT_EQ(first->capacity, 10u);
    EXPECT_EQ(first->length + first->delimiterOffset + first->delimiterSize + first->keyFrame, 0u);
}

TEST_F(VideoQueue, HasOneSpareEntryApartFromTheRing)
{
    ASSERT_EQ(queue.Create(1, 10), ResultOk);
    VideoQueueInfo* const inRing = NextEntry();
    VideoQueueInfo* spare = nullptr;
    queue.GetNextInfo(&spare);
    ASSERT_NE(spare, inRing);
    ASSERT_EQ(Store(spare, slice), ResultOk);
    VideoQueueInfo* again = nullptr;
    queue.GetNextInfo(&again);
    EXPECT_EQ(again, spare);
    EXPECT_EQ(again->length, 0u);
    EXPECT_EQ(again->capacity, 10u);
}

TEST_F(VideoQueue, GrowsToExactlyWhatIsStored)
{
    ASSERT_EQ(queue.Create(1, 10), ResultOk);
    VideoQueueInfo* const entry = NextEntry();
    Bytes all;
    for (const size_t count : std::vector<size_t>{0, 10, 0, 1, 1, 40, 3}) {
        const Bytes bytes(count, static_cast<unsigned char>(all.size()));
        all += bytes;
        ASSERT_EQ(Store(entry, bytes), ResultOk);
        EXPECT_EQ(Contents(entry), all);
        EXPECT_EQ(entry->capacity, all.empty() ? 10u : Size(all));
    }
}

TEST_F(VideoQueue, InsertsParameterSetsBehindTheDelimiter)
{
    const Bytes sei = {0, 0, 1, 6, 0x80};
    const struct
    {
        Bytes stored;
        uint32_t delimiterOffset;
        uint32_t delimiterSize;
        Bytes expected;
    } cases[] = {
        {slice, 0, 0, sps + pps + slice},
        {delimiter + slice, 0, 6, delimiter + sps + pps + slice},
        {sei + delimiter + slice, 5, 6, sei + delimiter + sps + pps + slice},
        {delimiter, 0, 6, delimiter + sps + pps},
        {{}, 0, 0, sps + pps},
    };
    ASSERT_EQ(queue.Create(1, 8), ResultOk);
    for (const auto& c : cases) {
        VideoQueueInfo* const entry = NextEntry();
        ASSERT_EQ(Store(entry, c.stored), ResultOk);
        entry->delimiterOffset = c.delimiterOffset;
        entry->delimiterSize = c.delimiterSize;
        entry->keyFrame = 1;
        ASSERT_EQ(Insert(entry), ResultOk);
        EXPECT_EQ(Contents(entry), c.expected);
        EXPECT_EQ(entry->delimiterOffset, c.delimiterOffset);
        EXPECT_EQ(entry->delimiterSize, c.delimiterSize);
        EXPECT_EQ(entry->keyFrame, 1u);
    }
    EXPECT_EQ(queue.scratchCapacity, slice.size()) << "the longest tail moved";
}

TEST_F(VideoQueue, FailingGrowthLeavesTheEntryAsItWas)
{
    ASSERT_EQ(queue.Create(1, 8), ResultOk);
    VideoQueueInfo* const entry = NextEntry();
    ASSERT_EQ(Store(entry, delimiter), ResultOk);
    entry->delimiterSize = 6;

    FailingHeap storing(1, FailingHeap::Failure::Once);
    EXPECT_EQ(storing.During([&] { return Store(entry, slice); }), ResultFailed);
    EXPECT_EQ(Contents(entry), delimiter);
    EXPECT_EQ(entry->capacity, 8u);
    ASSERT_EQ(Store(entry, slice), ResultOk);

    const Bytes before = Contents(entry);
    for (const uint64_t failAt : {1u, 2u}) {  // the scratch block, the entry's block
        queue.scratchCapacity = 0;
        FailingHeap inserting(failAt, FailingHeap::Failure::Once);
        FreeBuffer(queue.scratchBuffer);
        EXPECT_EQ(inserting.During([&] { return Insert(entry); }), ResultFailed);
        EXPECT_EQ(Contents(entry), before);
        EXPECT_EQ(entry->capacity, before.size());
    }
    ASSERT_EQ(Insert(entry), ResultOk);
    EXPECT_EQ(Contents(entry), delimiter + sps + pps + slice);
}

TEST_F(VideoQueue, RefusesSizesBeyond32Bits)
{
    ASSERT_EQ(queue.Create(1, 8), ResultOk);
    VideoQueueInfo* const entry = NextEntry();
    ASSERT_EQ(Store(entry, delimiter), ResultOk);
    EXPECT_EQ(queue.StoreVideoData(entry, nullptr, UINT32_MAX - 5), ResultFailed);  // 6 + 2^32 - 6 bytes
    EXPECT_EQ(queue.InsertParameterData(entry, nullptr, UINT32_MAX - 5, nullptr, 0), ResultFailed);
    EXPECT_EQ(queue.ResizeBuffer(entry, uint64_t{1} << 32), ResultFailed);
    EXPECT_EQ(Contents(entry), delimiter);
}

TEST_F(VideoQueue, EachFailingAllocationOfCreateIsReportedAndClosedWithoutALeak)
{
    for (uint64_t failAt = 1;; ++failAt) {
        FailingHeap heap(failAt, FailingHeap::Failure::Once);
        Result result = ResultOk;
        heap.During([&] {
            QueueProbe made;
            result = made.Create(2, 10);
            made.Close();
        });
        EXPECT_EQ(heap.BlocksLeft(), 0);
        if (!heap.HasFailed()) {
            EXPECT_EQ(failAt, 5u) << "the array, two entries and the spare one";
            EXPECT_EQ(result, ResultOk);
            return;
        }
        EXPECT_EQ(result, ResultFailed) << failAt;
    }
}

// Without spare room behind an exact capacity, each of these would move the block: half a million moves.
TEST_F(VideoQueue, ManySmallStoresCostFewAllocations)
{
    ASSERT_EQ(queue.Create(1, 10), ResultOk);
    VideoQueueInfo* const entry = NextEntry();
    const Bytes unit = {0, 0, 1, 0x0C, 0x80};
    FailingHeap heap;
    heap.During([&] {
        for (uint32_t i = 0; i < 500000; ++i)
            (void)queue.StoreVideoData(entry, unit.data(), Size(unit));
    });
    EXPECT_EQ(entry->length, 2500000u);
    EXPECT_EQ(entry->capacity, entry->length);
    EXPECT_LT(heap.Allocations(), 50u);
}

}  // namespace videoparams::test
