// What is missing, and what stays, after a call for which memory ran out.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/FailingHeap.h"

namespace videoparams::test {

namespace {

using Failure = FailingHeap::Failure;

// A host for whom memory runs out in a call, at its `failAt`-th allocation.
class ShortHost : public Analysis
{
public:
    explicit ShortHost(uint32_t queueSize = 0) : Analysis(VideoCodecAVC, 2, queueSize) {}

    int64_t FeedShort(const Bytes& bytes, uint64_t failAt = 1, Failure failure = Failure::ForGood)
    {
        VideoInfo info;
        const int64_t result = DoShort(
            [&] { return ParseVideoParams(Handle(), bytes.data(), Size(bytes), &info); }, failAt, failure);
        last = CopyOf(info.accessUnitData, info.accessUnitSize);
        return result;
    }

    template <typename Call>
    int64_t DoShort(Call call, uint64_t failAt = 1, Failure failure = Failure::ForGood)
    {
        FailingHeap heap(failAt, failure);
        const int64_t result = heap.During(call);
        EXPECT_TRUE(heap.HasFailed());
        return result;
    }

    // The last report after these units and a flush.
    Bytes ReportOf(const Bytes& bytes)
    {
        Feed(bytes);
        Flush();
        return Reports().back().bytes;
    }

    Bytes last;
};

const Bytes sps = AvcSps{}.Write();
const Bytes pps = AvcPps{}.Write();
const Bytes sei = AvcSei(Bytes{200, 200} + Bytes(200, 0x33));
const Bytes key = AvcSlice{.nal_unit_type = 5, .sliceData = Bytes(99, 7)}.Write();

int64_t Set(void* handle, Bytes spsBytes, Bytes ppsBytes)
{
    return SetParameterSetData(handle, spsBytes.data(), Size(spsBytes), ppsBytes.data(), Size(ppsBytes));
}

}  // namespace

TEST(ShortageDetails, AUnitThatCannotBeStoredIsMissing)
{
    const Bytes start = AvcDelimiter() + sps + pps;
    ShortHost host(64);
    host.Feed(start);
    EXPECT_EQ(host.FeedShort(key), 0);
    EXPECT_EQ(host.ReportOf({}), start);
    EXPECT_EQ(host.Reports().back().info.keyFrame, 0u) << "its key slice is missing";
    host.Feed(start);
    EXPECT_EQ(host.FeedShort(sei), 0);
    EXPECT_EQ(host.ReportOf(key), start + key);
}

TEST(ShortageDetails, ADelimiterThatIsMissingHasNoPlace)
{
    ShortHost stored(4);
    Set(stored.Handle(), sps, pps);
    EXPECT_EQ(stored.FeedShort(AvcDelimiter()), 0);
    EXPECT_EQ(stored.ReportOf(key), sps + pps + key);

    ShortHost merged(6);
    Set(merged.Handle(), sps, pps);
    merged.Feed(AvcSei({}) + AvcDelimiter());
    EXPECT_EQ(merged.FeedShort(key, 1, Failure::Once), 0);
    EXPECT_EQ(merged.ReportOf({}), sps + pps + AvcSei({}) + key);
}

TEST(ShortageDetails, AUnitThatCannotBeReadEndsTheCall)
{
    const AvcSps longFrameNum = {.log2_max_frame_num_minus4 = 1000};
    const Bytes slice = AvcSlice{.sliceData = Bytes(2000, 7)}.Write(longFrameNum);
    ShortHost host;
    host.Feed(longFrameNum.Write() + pps);
    EXPECT_EQ(host.FeedShort(slice), -1);
    const AvcSps longSps = {.pic_order_cnt_type = 1,
                            .offset_for_ref_frame = std::vector<int32_t>(255, -70000)};
    EXPECT_EQ(host.FeedShort(longSps.Write()), -1);
    EXPECT_EQ(host.ReportOf(slice), longFrameNum.Write() + pps + slice);
}

TEST(ShortageDetails, ParameterSetsThatCannotBeInsertedOrHeldAreLeftOut)
{
    const AvcPps lastPps = {.pic_parameter_set_id = 255};
    const Bytes slice =
        AvcSlice{.nal_unit_type = 5, .pic_parameter_set_id = 255, .sliceData = Bytes(200, 0x55)}.Write();
    ShortHost host(20);
    host.ReportOf(sps + lastPps.Write() + slice);
    host.Feed(sei + slice);
    EXPECT_EQ(host.FeedShort({}), 0);
    EXPECT_EQ(host.last, sei + slice);
    ShortHost withoutPps;
    withoutPps.Feed(sps);
    EXPECT_EQ(withoutPps.FeedShort(lastPps.Write() + Bytes(50, 0x55), 2), 0) << "after its record, the copy";
    withoutPps.ReportOf(slice);
    EXPECT_EQ(withoutPps.ReportOf(slice), slice);
    EXPECT_EQ(withoutPps.Reports().back().info.width, 160u);
}

// A new SPS beside an old PPS would be inserted as if they belonged together.
TEST(ShortageDetails, APairOfParameterSetsStaysAPair)
{
    const Bytes longPps = pps + Bytes(50, 0x55);
    const Bytes longSps = AvcSps{.pic_width_in_mbs_minus1 = 19}.Write() + Bytes(50, 0x55);
    for (const uint64_t failAt : {1u, 2u}) {
        ShortHost host;
        ASSERT_EQ(Set(host.Handle(), sps, pps), 0);
        Bytes first = longSps;
        Bytes second = longPps;
        EXPECT_EQ(host.DoShort(
                      [&] {
                          return SetParameterSetData(host.Handle(), first.data(), Size(first), second.data(),
                                                     Size(second));
                      },
                      failAt),
                  -1);
        EXPECT_EQ(host.ReportOf(key), sps + pps + key);
        EXPECT_EQ(host.Reports().back().info.width, 160u);
    }
}

// The slice does not need it, but a later sample may.
TEST(ShortageDetails, ASampleFailsIfAParameterSetOfItCannotBeKept)
{
    const Bytes sample = AvcSps{.seq_parameter_set_id = 7}.Write() + AvcSlice{.frame_num = 1}.Write();
    ShortHost host;
    VideoInfoEx test{};
    const Bytes known = sps + pps + key;
    EXPECT_EQ(VideoSampleTest(host.Handle(), known.data(), Size(known), &test), 0);
    const auto testSample = [&] {
        return VideoSampleTest(host.Handle(), sample.data(), Size(sample), &test);
    };
    EXPECT_EQ(host.DoShort(testSample, 1, Failure::Once), -1);
    EXPECT_TRUE(test.sampleError == 0 && test.isFrame == 0);
    EXPECT_EQ(testSample(), 0);
    EXPECT_TRUE(test.sampleError == 0 && test.isFrame == 1);
}

}  // namespace videoparams::test
