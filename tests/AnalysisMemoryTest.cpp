// What the analysis takes from the heap, and what it does when there is none.

#include "support/Analysis.h"
#include "support/AvcStream.h"
#include "support/FailingHeap.h"
#include "support/HevcStream.h"
#include "support/TestStream.h"

#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

using Failure = FailingHeap::Failure;

// A host for whom memory runs out in a call, at its `failAt`-th allocation.
class ShortHost : public Analysis
{
public:
    using Analysis::Analysis;

    int64_t FeedShort(const Bytes& bytes, uint64_t failAt = 1, Failure failure = Failure::ForGood)
    {
        FailingHeap heap(failAt, failure);
        VideoInfo info;
        const int64_t result =
            heap.During([&] { return ParseVideoParams(Handle(), bytes.data(), Size(bytes), &info); });
        EXPECT_TRUE(heap.HasFailed());
        last = CopyOf(info.accessUnitData, info.accessUnitSize);
        return result;
    }

    Bytes last;
};

const Bytes sei = AvcSei(Bytes{200, 200} + Bytes(200, 0x33));

}  // namespace

TEST(AnalysisMemory, AUnitThatCannotBeStoredIsMissing)
{
    const Bytes start = AvcDelimiter() + AvcSps{}.Write() + AvcPps{}.Write();
    const Bytes key = AvcSlice{.nal_unit_type = 5, .sliceData = Bytes(99, 7)}.Write();
    ShortHost host(VideoCodecAVC, 2, 64);
    host.Feed(start);
    EXPECT_EQ(host.FeedShort(key), 0);
    host.Flush();
    EXPECT_EQ(host.Reports().back().bytes, start);
    EXPECT_EQ(host.Reports().back().info.keyFrame, 0u);
    host.Feed(start);
    EXPECT_EQ(host.FeedShort(sei), 0);
    host.Feed(key);
    host.Flush();
    EXPECT_EQ(host.Reports().back().bytes, start + key);
}

TEST(AnalysisMemory, ADelimiterThatIsMissingHasNoPlace)
{
    Bytes sps = AvcSps{}.Write();
    Bytes pps = AvcPps{}.Write();
    const Bytes key = AvcSlice{.nal_unit_type = 5}.Write();
    ShortHost stored(VideoCodecAVC, 2, 4);
    SetParameterSetData(stored.Handle(), sps.data(), Size(sps), pps.data(), Size(pps));
    EXPECT_EQ(stored.FeedShort(AvcDelimiter()), 0);
    stored.Feed(key);
    stored.Flush();
    EXPECT_EQ(stored.Reports().back().bytes, sps + pps + key);

    ShortHost merged(VideoCodecAVC, 2, 6);
    SetParameterSetData(merged.Handle(), sps.data(), Size(sps), pps.data(), Size(pps));
    merged.Feed(AvcSei({}) + AvcDelimiter());
    EXPECT_EQ(merged.FeedShort(key, 1, Failure::Once), 0);
    merged.Flush();
    EXPECT_EQ(merged.Reports().back().bytes, sps + pps + AvcSei({}) + key);
}

TEST(AnalysisMemory, AUnitThatCannotBeReadEndsTheCall)
{
    const AvcSps cycle = {.pic_order_cnt_type = 1, .offset_for_ref_frame = std::vector<int32_t>(255, -70000)};
    const AvcSps longFrameNum = {.log2_max_frame_num_minus4 = 1000};
    const Bytes slice = AvcSlice{.sliceData = Bytes(2000, 7)}.Write(longFrameNum);
    const Bytes start = longFrameNum.Write() + AvcPps{}.Write();
    ShortHost host(VideoCodecAVC);
    host.Feed(start);
    EXPECT_EQ(host.FeedShort(slice), -1);
    EXPECT_EQ(host.FeedShort(cycle.Write() + sei), -1);
    EXPECT_EQ(host.Feed(slice), 0);
    host.Flush();
    EXPECT_EQ(host.Reports().back().bytes, start + slice);
}

TEST(AnalysisMemory, ParameterSetsThatCannotBePutInOrHeldAreLeftOut)
{
    const AvcPps pps = {.pic_parameter_set_id = 255};
    const AvcSlice slice = {.nal_unit_type = 5, .pic_parameter_set_id = 255, .sliceData = Bytes(200, 0x55)};
    const Bytes key = slice.Write({}, pps);
    ShortHost host(VideoCodecAVC, 2, 20);
    host.Feed(AvcSps{}.Write() + pps.Write() + key);
    host.Flush();
    host.Feed(sei + key);
    EXPECT_EQ(host.FeedShort({}), 0);
    EXPECT_EQ(host.last, sei + key);

    ShortHost withoutPps(VideoCodecAVC);
    withoutPps.Feed(AvcSps{}.Write());
    EXPECT_EQ(withoutPps.FeedShort(pps.Write(), 2), 0) << "behind its record, the copy";
    withoutPps.Feed(key);
    withoutPps.Flush();
    withoutPps.Feed(key);
    withoutPps.Flush();
    EXPECT_EQ(withoutPps.Reports().back().bytes, key);
    EXPECT_EQ(withoutPps.Reports().back().info.width, 160u);
}

TEST(AnalysisMemory, ASteadyStreamAllocatesNothing)
{
    for (const TestStream& stream : TestStreams()) {
        const std::vector<Bytes> units = SplitUnits(stream.Read());
        Analysis host(stream.codec, 3, 100);  // grows at first
        FailingHeap heap;
        for (unsigned round = 0; round < 8; ++round) {
            if (round == 7)
                heap = {};
            for (size_t i = 0; i <= units.size(); ++i) {
                const Bytes unit = i < units.size() ? units[i] : Bytes{};
                VideoInfo info;
                heap.During([&] { return ParseVideoParams(host.Handle(), unit.data(), Size(unit), &info); });
            }
        }
        EXPECT_EQ(heap.Allocations(), 0u) << stream.name;
    }
}

// Two megabytes of 5-byte units in one access unit, of the next one, and in one
// call or many. A block that moved for each would be moved 400,000 times.
TEST(AnalysisMemory, AnAccessUnitOfTinyUnitsCostsFewAllocations)
{
    constexpr size_t Count = 400000;
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        const bool isAvc = codec == VideoCodecAVC;
        const Bytes key = isAvc ? AvcSps{}.Write() + AvcPps{}.Write() + AvcSlice{.nal_unit_type = 5}.Write()
                                : HevcSps{}.Write() + HevcSlice{.nal_unit_type = 19}.Write();
        const Bytes next = isAvc ? AvcSlice{.frame_num = 1}.Write() : HevcSlice{}.Write();
        const Bytes filler = isAvc ? Bytes{0, 0, 1, 0x0C, 0x80} : Bytes{0, 0, 1, 0x4C, 0x01};
        const Bytes leading = isAvc ? Bytes{0, 0, 1, 0x06, 0x80} : Bytes{0, 0, 1, 0x4E, 0x01};
        const Bytes fillers = Repeat(filler, Count);
        const Bytes leaders = Repeat(leading, Count);
        Analysis host(codec);
        FailingHeap heap;
        VideoInfo info;
        const auto feed = [&](const Bytes& bytes) {
            return heap.During(
                [&] { return ParseVideoParams(host.Handle(), bytes.data(), Size(bytes), &info); });
        };
        feed(key);
        feed(fillers);
        for (size_t i = 0; i < Count; ++i)
            feed(leading);
        feed(leaders);
        ASSERT_EQ(feed(next), 0);
        ASSERT_TRUE(CopyOf(info.accessUnitData, info.accessUnitSize) == key + fillers);
        ASSERT_EQ(feed({}), 0);
        ASSERT_TRUE(CopyOf(info.accessUnitData, info.accessUnitSize) == leaders + leaders + next);
        EXPECT_LT(heap.Allocations(), 60u);
    }
}

}  // namespace videoparams::test
