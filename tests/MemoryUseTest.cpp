// What handles hold of the heap: no more than VideoParams.h states.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/FailingHeap.h"

#include <algorithm>
#include <random>

namespace videoparams::test {

namespace {

// The largest that a handle has met.
struct Met
{
    int64_t unit = 0;
    int64_t accessUnit = 0;
    int64_t unitsOfAFrame = 0;
    int64_t userData = 0;
};

// A handle and the heap that it is on, held against its bound after every call.
class Host
{
public:
    Host(VideoCodecType codec, uint32_t count, uint32_t size = 1000) : queueCount(count), queueSize(size)
    {
        heap.During([&] { return ParseCreate(&handle, codec, queueCount, queueSize); });
    }
    explicit Host(VideoCodecType codec) : queueCount(0), queueSize(0)
    {
        heap.During([&] { return UserDataCreate(&handle, codec); });
    }
    ~Host()
    {
        heap.During([&] { return queueCount != 0 ? ParseRelease(handle) : UserDataRelease(handle); });
        EXPECT_EQ(heap.BytesLeft(), 0);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    template <typename Call>
    void Do(Call call)
    {
        heap.During([&] {
            call();
            return 0;
        });
        if (heap.BytesLeft() > Bound() && !isAboveBound) {
            isAboveBound = true;
            ADD_FAILURE() << heap.BytesLeft() << " bytes, bound " << Bound();
        }
    }

    // Bytes of a unit, or null and 0 to flush.
    void Analyse(const unsigned char* data, uint32_t size)
    {
        met.unit = std::max<int64_t>(met.unit, size);
        Do([&] { ParseVideoParams(handle, data, size, &info); });
        reports += info.accessUnitFound;
    }

    int64_t Bytes() const { return heap.BytesLeft(); }

    void* handle = nullptr;
    Met met;
    size_t reports = 0;

private:
    int64_t Bound() const
    {
        if (queueCount == 0)
            return 3200000 + 11 * met.accessUnit + 5 * met.userData;
        return (queueCount + 2) * std::max<int64_t>(queueSize, met.accessUnit * 3 / 2) +
               5 * met.unit * 3 / 2 + 18 * met.unitsOfAFrame + 100000;
    }

    FailingHeap heap;
    uint32_t queueCount;  // 0: for user data
    uint32_t queueSize;
    bool isAboveBound = false;
    VideoInfo info{};
};

// Units of any length: their ends are slice data or payload, which may be cut.
struct Units
{
    explicit Units(const Codec& codec, size_t largest = 200000)
    {
        const Bytes data(largest, 0x55);
        sei = codec.sei({}) + data;
        for (uint32_t i = 0; i < 2; ++i) {
            first[i] = codec.slice(i, Picture::Plain, true) + data;
            next[i] = codec.slice(i, Picture::Plain, false) + data;
        }
    }

    Bytes sei;
    Bytes first[2];  // slices of two pictures
    Bytes next[2];
};

// Sizes that grow by a little, so that blocks are seen just when they have grown.
std::vector<uint32_t> GrowingSizes(uint32_t from, uint32_t to, uint32_t steps = 40)
{
    std::vector<uint32_t> sizes;
    for (uint32_t size = from; size < to; size += std::max(1u, size / steps))
        sizes.push_back(size);
    return sizes;
}

class MemoryUse : public CodecTest
{};

INSTANTIATE_TEST_SUITE_P(, MemoryUse, bothCodecs, nameOfCodec);

}  // namespace

TEST_P(MemoryUse, OfAHandleIsByDefaultThatOfSixEntriesOf100000Bytes)
{
    const auto bytesOf = [this](uint32_t count, uint32_t size) {
        FailingHeap heap;
        void* handle = nullptr;
        heap.During([&] { return ParseCreate(&handle, codec.type, count, size); });
        const int64_t bytes = heap.BytesLeft();
        ParseRelease(handle);
        return bytes;
    };
    EXPECT_EQ(bytesOf(0, 0), bytesOf(6, 100000));
    EXPECT_NE(bytesOf(6, 100000), bytesOf(7, 100000));
    EXPECT_NE(bytesOf(6, 100000), bytesOf(6, 99000));
}

TEST_P(MemoryUse, OfTheAnalysisIsBoundedByTheLargestAccessUnit)
{
    const Units units(codec);
    std::vector<uint32_t> sizes = GrowingSizes(40, 200000);
    std::minstd_rand random(1);
    while (sizes.size() < 100000)
        sizes.push_back(40 + static_cast<uint32_t>(random() % (random() % 1000 == 0 ? 200000 : 1000)));
    Host host(codec.type, 6);
    host.Analyse(codec.sets.data(), Size(codec.sets));
    for (size_t picture = 0; picture < sizes.size(); ++picture) {
        const uint32_t size = sizes[picture];
        host.met.accessUnit = std::max<int64_t>(host.met.accessUnit, 6 * size + Size(codec.sets));
        for (unsigned i = 0; i < 3; ++i)
            host.Analyse(units.sei.data(), size);
        for (unsigned i = 0; i < 3; ++i)
            host.Analyse((i == 0 ? units.first : units.next)[picture % 2].data(), size);
    }
    host.Analyse(nullptr, 0);
    EXPECT_EQ(host.reports, sizes.size());
}

// Without a slice nothing ends an access unit; a flush does.
TEST_P(MemoryUse, OfAStreamWithoutSlicesIsThatOfOneAccessUnit)
{
    const Units units(codec);
    Host host(codec.type, 2);
    for (unsigned round = 0; round < 3; ++round) {
        int64_t accessUnit = 0;
        for (uint32_t unit = 0; unit < 100000; ++unit) {
            accessUnit += 20 + unit % 30;
            host.met.accessUnit = std::max(host.met.accessUnit, accessUnit);
            host.Analyse(units.sei.data(), 20 + unit % 30);
        }
        host.Analyse(nullptr, 0);
    }
    EXPECT_EQ(host.reports, 3u);
    if (codec.IsAvc()) {  // slices whose parameter sets never come
        Host dropping(codec.type, 2);
        for (uint32_t unit = 0; unit < 100000; ++unit) {
            dropping.Analyse(units.first[unit % 2].data(), 20 + unit % 1000);
            dropping.met.unit = 0;
        }
        EXPECT_EQ(dropping.reports, 0u);
    }
}

TEST(AvcMemoryUse, OfFramesThatAreSplitAndWalkedIsBoundedByTheLargest)
{
    const Bytes picture = avc.sets + AvcSlice{}.Write();
    Bytes stream = Repeat(picture, 30000);
    Host host(VideoCodecAVC, 2);
    host.met.unit = static_cast<int64_t>(picture.size());
    for (const uint32_t size : GrowingSizes(100, Size(stream))) {
        host.met.unitsOfAFrame = 3 * static_cast<int64_t>(size / picture.size() + 1);
        unsigned int count = 0;
        unsigned char** addresses = nullptr;
        unsigned int* sizes = nullptr;
        host.Do([&] { GetNalFromFrame(host.handle, stream.data(), size, &count, &addresses, &sizes); });
    }
    unsigned char* unit = nullptr;
    unsigned int unitSize = 0;
    bool isSlice = false;
    unsigned int headerLength = 0;
    SetVideoData(host.handle, stream.data(), Size(stream));
    for (size_t i = 0; i < 90000; ++i)
        host.Do([&] { GetNalUnit(host.handle, &unit, &unitSize, &isSlice, &headerLength); });
    EXPECT_EQ(unit + unitSize, stream.data() + stream.size());
}

TEST(AvcMemoryUse, OfTheParameterSetExchangeIsBoundedByTheLargestUnit)
{
    Bytes sps = AvcSps{}.Write() + Bytes(300000, 0x55);
    Bytes pps = AvcPps{}.Write() + Bytes(300000, 0x55);
    Host host(VideoCodecAVC, 2);
    for (const uint32_t size : GrowingSizes(100, 300000)) {
        host.met.unit = size;
        Bytes stream(sps.begin(), sps.begin() + size);
        stream.insert(stream.end(), pps.begin(), pps.begin() + size);
        ParameterSetData found{};
        host.Do([&] { GetParameterSetData(host.handle, stream.data(), Size(stream), &found); });
        ASSERT_EQ(found.spsSize + found.ppsSize, 2 * size);
        host.Do([&] { SetParameterSetData(host.handle, sps.data(), size, pps.data(), size); });
    }
}

TEST_P(MemoryUse, OfUserDataIsBoundedByTheLargestAccessUnitAndUserData)
{
    constexpr uint32_t Largest = 4000000;
    const Units units(codec, Largest);
    Host host(codec.type);
    for (const uint32_t size : GrowingSizes(100, Largest, 10)) {
        const unsigned char* output = nullptr;
        unsigned int outputSize = 0;
        host.met.userData = size;
        host.met.accessUnit = size + size / 255 + 100;
        for (unsigned round = 0; round < 10; ++round) {
            host.Do([&] {
                AddUserData(host.handle, units.first[0].data(), 20, units.sei.data(), size / (round + 1),
                            &output, &outputSize);
            });
            host.Do([&] { GetUserData(host.handle, output, outputSize, &output, &outputSize); });
            host.Do([&] {
                RemoveUserData(host.handle, (round % 2 == 0 ? units.sei : units.first[0]).data(), size,
                               &output, &outputSize);
            });
        }
    }
}

}  // namespace videoparams::test
