#include "analysis/VideoQueue.h"

#include "streams/Bytes.h"
#include "support/FailingHeap.h"

#include <gtest/gtest.h>

namespace videoparams::test {

using namespace streams;

namespace {

const Bytes delimiter = {0, 0, 0, 1, 9, 0xF0};
const Bytes sps = {0, 0, 1, 7, 1, 2, 3};
const Bytes pps = {0, 0, 1, 8, 4};
const Bytes slice = {0, 0, 1, 5, 6, 7, 8, 9, 10};

class VideoQueue : public testing::Test
{
protected:
    VideoQueue()
    {
        EXPECT_EQ(queue.Create(3, 8), ResultOk);
        Fill(heldSps, sps);
        Fill(heldPps, pps);
    }

    static void Fill(Buffer& buffer, const Bytes& bytes)
    {
        EXPECT_TRUE(buffer.Allocate(Size(bytes)));
        buffer.Append(bytes.data(), Size(bytes));
    }

    static Result Store(AccessUnit& unit, const Bytes& bytes)
    {
        return unit.Store(bytes.data(), Size(bytes));
    }
    static Bytes Contents(const AccessUnit& unit) { return CopyOf(unit.bytes.data, unit.bytes.length); }
    Result Insert(AccessUnit& unit, uint32_t offset) { return unit.Insert(offset, heldSps, heldPps); }

    CVideoQueue queue;
    Buffer heldSps;
    Buffer heldPps;
};

}  // namespace

TEST_F(VideoQueue, HandsOutItsEntriesInTurnAndTheSpareOneAlwaysEmptied)
{
    AccessUnit* const units[] = {&queue.TakeNext(), &queue.TakeNext(), &queue.TakeNext(), &queue.TakeSpare()};
    for (AccessUnit* const unit : units) {
        ASSERT_EQ(Store(*unit, slice), ResultOk);
        unit->parameterSetOffset = 2;
        unit->isKeyFrame = true;
    }
    for (AccessUnit* const unit : units) {
        const unsigned char* const before = unit->bytes.data;
        ASSERT_EQ(Contents(*unit), slice) << "the entries have blocks of their own";
        ASSERT_EQ(unit == units[3] ? &queue.TakeSpare() : &queue.TakeNext(), unit);
        EXPECT_EQ(unit->bytes.data, before);
        EXPECT_TRUE(unit->bytes.length == 0 && unit->parameterSetOffset == 0 && !unit->isKeyFrame);
    }
}

// Blocks are made larger than is asked for. If the heap has no more, the needed size will do.
TEST_F(VideoQueue, GrowsToTheNeedIfTheHeapHasNoMore)
{
    AccessUnit& unit = queue.TakeNext();
    FailingHeap heap(1, FailingHeap::Failure::Once);
    EXPECT_EQ(heap.During([&] { return Store(unit, slice); }), ResultOk);
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_EQ(Contents(unit), slice);
}

TEST_F(VideoQueue, FailingGrowthLeavesTheEntryAsItWas)
{
    AccessUnit& unit = queue.TakeNext();
    ASSERT_EQ(Store(unit, delimiter), ResultOk);
    FailingHeap storing(1, FailingHeap::Failure::ForGood);
    EXPECT_EQ(storing.During([&] { return Store(unit, slice); }), ResultFailed);
    FailingHeap inserting(1, FailingHeap::Failure::ForGood);
    EXPECT_EQ(inserting.During([&] { return Insert(unit, 6); }), ResultFailed);
    EXPECT_EQ(unit.Store(nullptr, UINT32_MAX - 5), ResultFailed) << "6 + 2^32 - 6 is beyond 32 bits";
    EXPECT_EQ(Contents(unit), delimiter);

    ASSERT_EQ(Store(unit, slice), ResultOk);
    ASSERT_EQ(Insert(unit, 6), ResultOk);
    EXPECT_EQ(Contents(unit), delimiter + sps + pps + slice);
    AccessUnit& empty = queue.TakeNext();
    ASSERT_EQ(Insert(empty, 0), ResultOk);
    EXPECT_EQ(Contents(empty), sps + pps);
}

}  // namespace videoparams::test
