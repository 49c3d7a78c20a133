#include "memory/Buffer.h"

#include "support/FailingHeap.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

using Failure = FailingHeap::Failure;

const unsigned char eight[] = {1, 2, 3, 4, 5, 6, 7, 8};

struct FullBuffer : Buffer
{
    FullBuffer()
    {
        EXPECT_TRUE(Allocate(8));
        Append(eight, 8);
    }

    bool IsAsBefore() const { return size == 8 && length == 8 && std::memcmp(data, eight, 8) == 0; }
};

}  // namespace

TEST(Buffer, GrowsIfTheNeedIsLargerAndKeepsItsContents)
{
    FullBuffer buffer;
    EXPECT_TRUE(buffer.MakeRoom(8, 100));
    EXPECT_TRUE(buffer.Replace(0) && buffer.size == 8) << "and never shrinks";
    buffer.length = 8;
    EXPECT_TRUE(buffer.IsAsBefore()) << "there was room";
    EXPECT_TRUE(buffer.MakeRoom(9, 100));
    EXPECT_EQ(buffer.size, 100u);
    EXPECT_EQ(buffer.length, 8u);
    EXPECT_EQ(std::memcmp(buffer.data, eight, 8), 0);
    FailingHeap heap;
    EXPECT_TRUE(heap.During([&] { return buffer.Replace(100); }));
    EXPECT_EQ(heap.Allocations(), 0u) << "the need is what there is";
    EXPECT_TRUE(heap.During([&] { return buffer.Replace(101); }));
    EXPECT_EQ(buffer.size, 101u);
}

TEST(Buffer, StaysAsItWasIfItCannotGrow)
{
    FullBuffer buffer;
    FailingHeap heap(1, Failure::ForGood);
    EXPECT_FALSE(heap.During([&] { return buffer.MakeRoom(9, 9); }));
    EXPECT_TRUE(buffer.IsAsBefore());
    EXPECT_FALSE(buffer.MakeRoom(uint64_t{1} << 32, uint64_t{1} << 32)) << "sizes have 32 bits";
    EXPECT_TRUE(buffer.IsAsBefore());
    EXPECT_FALSE(heap.During([&] { return buffer.Replace(9); }));
    EXPECT_TRUE(buffer.data == nullptr && buffer.size == 0 && buffer.length == 0);
}

// Blocks are made larger than was asked for. If the heap has no more, the needed size will do.
TEST(Buffer, GrowsToTheNeedIfTheHeapHasNoMore)
{
    FullBuffer buffer;
    FailingHeap heap(1, Failure::Once);
    EXPECT_TRUE(heap.During([&] { return buffer.MakeRoom(9, 9); }));
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_EQ(buffer.size, 9u);
    EXPECT_EQ(std::memcmp(buffer.data, eight, 8), 0);
}

}  // namespace videoparams::test
