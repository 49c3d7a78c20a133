// How often handles allocate.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/FailingHeap.h"
#include "support/TestStream.h"

namespace videoparams::test {

namespace {

class Allocations : public CodecTest
{};

INSTANTIATE_TEST_SUITE_P(, Allocations, bothCodecs, nameOfCodec);

}  // namespace

// After some rounds over the same stream, no operation allocates.
TEST(SteadyStream, AllocatesNothing)
{
    for (const TestStream& stream : TestStreams()) {
        Bytes bytes = stream.Read();
        const std::vector<Bytes> units = SplitUnits(bytes);
        Analysis parser(stream.codec, 3, 100);
        void* editor = nullptr;
        ASSERT_EQ(UserDataCreate(&editor, stream.codec), 0);
        FailingHeap heap;
        const auto workOn = [&](Bytes& data) {
            VideoInfo info;
            VideoInfoEx test;
            VideoPicType type;
            ParameterSetData sets{};
            unsigned int count = 0;
            unsigned char* unit = nullptr;
            unsigned char** addresses = nullptr;
            unsigned int* sizes = nullptr;
            bool isSlice = false;
            const unsigned char* output = nullptr;
            void* const handle = parser.Handle();
            ParseVideoParams(handle, data.data(), Size(data), &info);
            VideoSampleTest(handle, data.data(), Size(data), &test);
            QueryType(handle, data.data(), Size(data), type);
            GetNalFromFrame(handle, data.data(), Size(data), &count, &addresses, &sizes);
            GetParameterSetData(handle, data.data(), Size(data), &sets);
            SetParameterSetData(handle, sets.sps, sets.spsSize, sets.pps, sets.ppsSize);
            SetVideoData(handle, data.data(), Size(data));
            while (stream.codec == VideoCodecAVC && GetNalUnit(handle, &unit, &count, &isSlice, &count) == 0)
                continue;
            AddUserData(editor, data.data(), Size(data), data.data(), std::min(Size(data), 100u), &output,
                        &count);
            GetUserData(editor, output, count, &output, &count);
            RemoveUserData(editor, data.data(), Size(data), &output, &count);
            return 0;
        };
        for (unsigned round = 0; round < 9; ++round) {
            if (round == 8)
                heap = {};
            for (Bytes unit : units)
                heap.During([&] { return workOn(unit); });
            heap.During([&] { return workOn(bytes); });
        }
        EXPECT_EQ(heap.Allocations(), 0u) << stream.name;
        EXPECT_EQ(UserDataRelease(editor), 0);
    }
}

// Units of five bytes by the hundred thousand, in one access unit, in the next one, in one call or many, and
// in one frame. A block that moved for each would be moved 400,000 times.
TEST_P(Allocations, AreFewForTinyUnits)
{
    constexpr size_t Count = 400000;
    const auto tiny = [this](uint32_t type) { return Short(codec.unit(type, {0x80})); };
    const Bytes filler = tiny(codec.fillerType);
    const Bytes leading = tiny(codec.IsAvc() ? 6 : 39);
    const Bytes fillers = Repeat(filler, Count);
    Bytes leaders = Repeat(leading, Count);
    Analysis host(codec.type);
    FailingHeap heap;
    VideoInfo info;
    const auto feed = [&](const Bytes& bytes) {
        return heap.During([&] { return ParseVideoParams(host.Handle(), bytes.data(), Size(bytes), &info); });
    };
    feed(codec.sets + Key());
    feed(fillers);
    for (size_t i = 0; i < Count; ++i)
        feed(leading);
    feed(leaders);
    ASSERT_EQ(feed(Slice(1)), 0);
    ASSERT_TRUE(CopyOf(info.accessUnitData, info.accessUnitSize) == codec.sets + Key() + fillers);
    ASSERT_EQ(feed({}), 0);
    ASSERT_TRUE(CopyOf(info.accessUnitData, info.accessUnitSize) == leaders + leaders + Slice(1));
    unsigned int count = 0;
    unsigned char** units = nullptr;
    unsigned int* sizes = nullptr;
    heap.During([&] {
        return GetNalFromFrame(host.Handle(), leaders.data(), Size(leaders), &count, &units, &sizes);
    });
    EXPECT_EQ(count, codec.IsAvc() ? Count : 0);
    EXPECT_LT(heap.Allocations(), 150u);
}

}  // namespace videoparams::test
